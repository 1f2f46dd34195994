// The module object and the module's only export.
#include "IPtPreferences.h"
#include "PtXmlPreferences.h"

#include <new>

namespace {

// Hands out a fresh store for every IPtPreferences request, so that each
// caller opens its own and no state is shared between callers.
class PtPreferenceModule final : public IPtUnknown {
 public:
    bool QueryInterface(const PtIID& iid, void** out) override
    {
        if (!out)
            return false;
        *out = nullptr;
        if (ptSameIID(iid, kIID_IPtUnknown)) {
            *out = static_cast<IPtUnknown*>(this);
            AddRef();
        } else if (ptSameIID(iid, kIID_IPtPreferences)) {
            *out = static_cast<IPtPreferences*>(new (std::nothrow) PtXmlPreferences);
        }
        return *out != nullptr;
    }
    long AddRef() override { return ++m_refCount; }
    long Release() override
    {
        const long count = --m_refCount;
        if (count == 0)
            delete this;
        return count;
    }

 private:
    ~PtPreferenceModule() = default;
    long m_refCount = 1;
};

} // namespace

extern "C" __attribute__((visibility("default"))) bool PtModuleMain(IPtUnknown** out)
{
    if (!out)
        return false;
    *out = new (std::nothrow) PtPreferenceModule;
    return *out != nullptr;
}
