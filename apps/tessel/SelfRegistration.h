// The browser's record in the per-user application registry, so that the
// messaging system can find and launch it as "tessel".
#pragma once

#include <QString>

enum class Registration { AlreadyRegistered, Registered, Failed };

// Registers "tessel" with executable as its path unless the registry (per
// user or system-wide) already knows it; an existing record is never
// replaced. Failed when the registry cannot be read or written.
Registration registerIfMissing(const QString& executable);
