// The concrete stream, the process-wide stream and the factory that picks a
// free instance number.
#pragma once

#include "LinuxInterAppStream.h"

class InterAppStream : public LinuxInterAppStream {
public:
    static constexpr const char* kDefaultName = "interappstream-1.0";

    InterAppStream(const ScObjects::SoString& name, bool flag);
    ~InterAppStream() override;

    // The process-wide stream, made with the factory on first use: from the
    // name InitTerm::init chose, or from kDefaultName when there is none or
    // it could not be made good. May be null. Not owned by the caller.
    static InterAppStream* get();

    struct InitTerm {
        // Replaces the process-wide stream by one named after specifier with
        // the suffix "ping" (or the first free instance of it). The endpoint
        // is made when get() first asks for it, so a process that never
        // pings holds none. Call from the main thread at start-up.
        static void init(const ScObjects::SoString& specifier);
        // Deletes the process-wide stream.
        static void exit();
    };
};

namespace ScObjects {
namespace TesselTalkUtils {

// A good stream named name, or, when that name is held and carries no
// instance of its own, the first of instances "1" to "8" that is free.
// Null for an empty name, a held explicitly numbered name, or when all
// eight are held. The caller owns the result.
InterAppStream* createNextAvailableInterAppStream(const SoString& name);

} // namespace TesselTalkUtils
} // namespace ScObjects
