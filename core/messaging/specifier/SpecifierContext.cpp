#include <atomic>

#include "ApplicationRegistry.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

std::atomic<SpecifierContext*> gContext{nullptr};

} // namespace

void setSpecifierContext(SpecifierContext* context)
{
    gContext.store(context);
}

SpecifierContext* getSpecifierContext()
{
    return gContext.load();
}

} // namespace TesselTalk
} // namespace ScObjects
