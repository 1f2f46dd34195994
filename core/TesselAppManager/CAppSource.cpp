#include "CAppSource.h"

#include "CMOXFileFormat.h"
#include "IPtPreferences.h"
#include "PtLibrary.h"
#include "PtZString.h"

CAppSource::CAppSource(const CAppInfo& info)
    : m_appInfo(info)
{
    m_tesselTalk.Initialize();
    getIPtPreferences();
    // A missing or unreadable dictionary is no error: lookups fall back to
    // the default texts.
    PtZString::openZStringDict(false);
    loadConversionLibrary();
}

CAppSource::~CAppSource()
{
    if (m_nextSink)
        m_nextSink->Release();
    if (m_fileFormats)
        m_fileFormats->Release();
    if (m_preferences)
        m_preferences->Release();
    PtZString::closeZStringDict();
    m_tesselTalk.Terminate();
}

// A missing library or entry is no error: conversion is then simply not offered.
void CAppSource::loadConversionLibrary()
{
    const auto* path = reinterpret_cast<const unsigned short*>(LUMEN_PLUGIN_FRAMEWORK_PATH);
    PtLibraryHandle library = PtLoadLibrary(path);
    if (!library)
        return;
    auto canConvert = reinterpret_cast<LumenPluginCanConvertToDNG>(
        PtGetProcAddress(library, reinterpret_cast<const unsigned short*>(LUMEN_PLUGIN_CAN_CONVERT)));
    if (canConvert && canConvert()) {
        m_convertToDNG = reinterpret_cast<LumenPluginConvertToDNG>(
            PtGetProcAddress(library, reinterpret_cast<const unsigned short*>(LUMEN_PLUGIN_CONVERT)));
    }
    // The code stays loaded for the entry's sake; only the handle goes.
    PtReleaseModuleRef(library);
}

bool CAppSource::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    switch (id) {
    case kIID_IFxBase:
    case kIID_ISink:
    case kIID_ISink3:
        *out = static_cast<ISink3*>(this);
        break;
    case kIID_ISource:
        *out = static_cast<ISource*>(this);
        break;
    case kIID_ISinkCapabilities:
    case kIID_ISinkCapabilities2:
        *out = static_cast<ISinkCapabilities2*>(this);
        break;
    case kIID_ISinkUtilHandler:
    case kIID_ISinkUtilHandler2:
        *out = static_cast<ISinkUtilHandler2*>(this);
        break;
    case kIID_ISinkUICapabilities:
        *out = static_cast<ISinkUICapabilities*>(this);
        break;
    case kIID_IUICallback:
        *out = static_cast<IUICallback*>(this);
        break;
    case kIID_ISinkAdvancedCapabilities:
        *out = static_cast<ISinkAdvancedCapabilities*>(this);
        break;
    case kIID_ISkiffLogCallbacks:
        *out = static_cast<ISkiffLogCallbacks*>(this);
        break;
    case kIID_ISinkManager:
        *out = static_cast<ISinkManager*>(this);
        break;
    case kIID_ISkiffPostProcessing:
    case kIID_ISkiffPostProcessing2:
        *out = static_cast<ISkiffPostProcessing2*>(this);
        break;
    case kIID_ISinkProgressDialog:
        *out = static_cast<ISinkProgressDialog*>(this);
        break;
    case kIID_ISkiffSinkChain:
        *out = static_cast<ISkiffSinkChain*>(&m_chain);
        break;
    default:
        *out = nullptr;
        break;
    }
    if (*out)
        AddRef();
    return *out != nullptr;
}

long CAppSource::AddRef()
{
    return long(++m_refCount);
}

long CAppSource::Release()
{
    const long count = long(--m_refCount);
    if (count == 0) {
        if (m_progressHandler) {
            m_progressHandler->Release();
            m_progressHandler = nullptr;
        }
        delete this;
    }
    return count;
}
