// The two entries the plug-in looks up in this module.
#include "lumen/DngConverter.h"

#define LUMEN_EXPORT extern "C" __attribute__((visibility("default")))

LUMEN_EXPORT bool LumenPlugin_CanConvertToDNG()
{
    return true;
}

// Paths are UTF-8; the file system takes them as they are.
LUMEN_EXPORT int LumenPlugin_ConvertToDNG(const char* source, const char* target, int previewSize, bool compressed,
                                          bool linear, bool embedOriginal)
{
    if (!source || !target || previewSize < 0 || previewSize > 2)
        return 0;
    lumen::DngOptions options;
    options.preview = static_cast<lumen::PreviewSize>(previewSize);
    options.compressed = compressed;
    options.linear = linear;
    options.embedOriginal = embedOriginal;
    try {
        return lumen::convertToDng(source, target, options).ok ? 1 : 0;
    } catch (...) {
        return 0;
    }
}
