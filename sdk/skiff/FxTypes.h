// Skiff plug-in SDK: result codes, interface identifiers and enumerations.
//
// Every text at Skiff's interfaces is a zero-terminated string of 16-bit
// UTF-16 code units in host byte order (`FxChar`). Caller buffers are bounded
// in units; 260 is the usual size.
#pragma once

#include <cstdint>

using FxChar = unsigned short;
using FxResult = std::uint32_t;

enum : FxResult {
  kFxOk = 0x00000000,
  kFxErrNoBuffer = 0xC0000002,       // a required output buffer was null
  kFxErrNotImplemented = 0xC0000003, // the plug-in does not provide the operation
  kFxErrNotSupported = 0xC0000004,   // the operation is refused on purpose
  kFxErrFailure = 0xC0000005,        // an allocation or other failure inside the plug-in
  kFxErrInvalidArg = 0xC000000A,     // null or mismatched argument, or an out-pointer already set
  kFxErrNotInitialised = 0xC000000B, // ISourceManager::Init has not run
  kFxEndOfEnum = 0xD0000001,         // an enumerator has no further element
};

// Interface identifiers answered by QueryInterface. Small integers, not GUIDs.
enum FxInterfaceId : long {
  kIID_IFxBase = 0,
  kIID_IFxPlugin = 1,
  kIID_ISourceManager = 2,
  kIID_ISource = 3,
  kIID_IEnum = 8,
  kIID_IEnumSource = 10,
  kIID_IFileFormat = 12,
  kIID_ISourceManagerCapabilities = 13,
  kIID_ISink = 14,
  kIID_ISinkCapabilities = 17,
  kIID_ISinkMediaHandler = 19,
  kIID_ISinkUtilHandler = 23,
  kIID_ISinkUICapabilities = 25,
  kIID_IUICallback = 26,
  kIID_ISinkAdvancedCapabilities = 27,
  kIID_ISkiffLogCallbacks = 32,
  kIID_ISinkUtilHandler2 = 33,
  kIID_ISinkManager = 36,
  kIID_ISink3 = 37,
  kIID_ISkiffPostProcessing = 48,
  kIID_ISinkCapabilities2 = 49,
  kIID_ISinkProgressDialog = 64,
  kIID_ISkiffPostProcessing2 = 66,
};

enum eMediaItemType : int { kMediaItemAll = 0, kMediaItemImage = 1, kMediaItemAudio = 2, kMediaItemVideo = 4 };
enum eUploadAction : int { kUploadCopy = 0, kUploadMove = 1 };
enum eSourceEventType : int { kSourceEventArrived = 0, kSourceEventRemoved = 1 };
enum eSourceManagerCap : int { kSourceManagerPull = 0, kSourceManagerPush = 1 };
enum eSourceManagerDetectCap : int { kSourceDetectNone = 0, kSourceDetectAuto = 1 };

// Media kinds of a file-format record; a bit set.
enum eFileFormatKind : std::uint32_t { kFormatImage = 1, kFormatAudio = 2, kFormatVideo = 4, kFormatAnyFile = 8 };

// The host's per-item callbacks: show a text (status, warning or error).
// The second argument is reserved and passed as 0.
using FxMessageCallback = unsigned (*)(const FxChar* text, long reserved);
// Polled during long operations; returns true when the user cancelled.
using FxCancelCallback = bool (*)(long& progress);
