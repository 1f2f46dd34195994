// The host's own stage of per-item processing, handed to the plug-in as the
// next sink of its chain so that the plug-in's work runs after it. The
// host's copy is already done and verified when the plug-in is called, so
// this stage only confirms it: success for an item the session copied,
// failure (0) for any other.
#pragma once

#include <QSet>
#include <QString>

#include <skiff/Skiff.h>

class HostSink final : public ISkiffPostProcessing {
public:
    // Created with a count of 1, owned by the creator.
    HostSink() = default;
    HostSink(const HostSink&) = delete;
    HostSink& operator=(const HostSink&) = delete;

    // Records a verified copy by its full path.
    void markCopied(const QString& path) { m_copied.insert(path); }

    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;

    // Both return 1 for a copied item, 0 otherwise.
    FxResult DoPreProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                             FxMessageCallback error, FxCancelCallback cancel, IDisplayMsgHandler* messages) override;
    FxResult DoPostProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                              FxMessageCallback error, FxCancelCallback cancel, IDisplayMsgHandler* messages) override;

private:
    ~HostSink() = default;
    FxResult confirm(const CPropSinkMediaItem* item) const;

    QSet<QString> m_copied;
    long m_count = 1;
};
