// The sink's thumbnail handler. The plug-in offers no thumbnails; the class
// completes the interface for hosts that ask.
#pragma once

#include <skiff/SinkInterfaces.h>

class CAppMediaHandler final : public ISinkMediaHandler {
public:
    bool QueryInterface(long id, void** out) override;
    long AddRef() override;
    long Release() override;

    FxResult GetThumbnailSize(unsigned long& size) override;
    FxResult GetThumbnailData(const FxChar* path, unsigned char*& data, unsigned long size) override;

private:
    long long m_refCount = 0;
};
