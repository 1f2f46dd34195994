// The contract of the raw-conversion support library that the plug-in loads
// at run time from ../Frameworks/LumenPluginSupport.framework.
#pragma once

#define LUMEN_PLUGIN_FRAMEWORK_PATH u"../Frameworks/LumenPluginSupport.framework"
#define LUMEN_PLUGIN_CAN_CONVERT u"LumenPlugin_CanConvertToDNG"
#define LUMEN_PLUGIN_CONVERT u"LumenPlugin_ConvertToDNG"

// Whether the library can convert at all on this machine.
using LumenPluginCanConvertToDNG = bool (*)();
// Converts the raw file at `source` into a DNG at `target` (both UTF-8, the
// bytes the file system stores: decomposing them would name another file on
// Linux). previewSize: 0 none, 1 medium, 2 full size.
// Returns non-zero on success.
using LumenPluginConvertToDNG = int (*)(const char* source, const char* target, int previewSize, bool compressed,
                                        bool linear, bool embedOriginal);
