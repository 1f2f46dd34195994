// Helpers shared by the specifier's parsing and completion.
#pragma once

#include <cstdlib>

#include "SoString.h"

namespace ScObjects {
namespace TesselTalk {
namespace detail {

// A version text as a decimal number; text after the number is ignored.
inline double versionNumber(const SoString& version)
{
    return std::strtod(version.c_str(), nullptr);
}

// Equal when both are absent, or both present and numerically equal.
inline bool sameVersion(const SoString& a, const SoString& b)
{
    if (a.isEmpty() || b.isEmpty())
        return a.isEmpty() && b.isEmpty();
    return versionNumber(a) == versionNumber(b);
}

} // namespace detail
} // namespace TesselTalk
} // namespace ScObjects
