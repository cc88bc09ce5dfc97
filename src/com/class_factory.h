// Creates the objects of one COM class.
#pragma once

#include "com/com_class.h"

namespace cam::com {

// How often the module is locked in memory by LockServer.
LONG ServerLocks();

class ClassFactory final : public filter_base::Implements<filter_base::ComObject, IClassFactory> {
  public:
    explicit ClassFactory(const ComClass& entry) : Implements(nullptr), class_(entry) {}

    // IClassFactory
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** out) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

  private:
    const ComClass& class_;
};

}  // namespace cam::com
