// The host's use of the sink's settings: it reads the preference record and
// the supported formats, prints them, and at the end of the session writes the
// record back as a download would leave it (the rename sequence moved on by
// one, and the download location when one was given), so that the next run
// shows what this one changed.
#pragma once

#include <QString>

#include <skiff/Skiff.h>

class HostReport;

// `location` empty keeps the stored download location.
void hostSettingsSession(ISource* source, HostReport& report, const QString& location);
