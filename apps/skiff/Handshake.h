// The host's conversation with a freshly loaded plug-in, in the host's own
// order: entry, manager, Init, sources, CreateSource, the source's faces and
// its constant answers, and the release of everything.
#pragma once

#include <skiff/Skiff.h>

class HostReport;

class Handshake {
public:
    Handshake(FxPluginMainFunc entry, HostReport& report);
    ~Handshake();
    Handshake(const Handshake&) = delete;
    Handshake& operator=(const Handshake&) = delete;

    // Entry, manager and source; false when the session cannot go on.
    bool start();
    // Queries every face of the source and checks the constant answers.
    void checkSource();
    // Releases the source and the manager, checking both counts reach zero.
    void finish();

    // The created source, or null before start() succeeded.
    ISource* source() const { return m_source; }

private:
    bool startManager();
    bool createSource();
    void checkFaces();
    void checkConstantAnswers();

    template <typename T>
    T* face(long id);

    FxPluginMainFunc m_entry;
    HostReport& m_report;
    IFxBase* m_manager = nullptr;
    ISourceManager* m_sourceManager = nullptr;
    ISource* m_source = nullptr;
    CPropSource m_sourceRecord{};
};
