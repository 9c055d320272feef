#include <windows.h>

#include <objbase.h>
#include <objidl.h>

#include "component.h"

#include <atomic>
#include <new>

namespace {

std::atomic<ULONG> livingObjects{0};

// IUnknown for a class that implements one interface.
template <class Interface>
class Object : public Interface {
public:
    Object() { ++livingObjects; }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        const bool known = id == __uuidof(IUnknown) || id == __uuidof(Interface);
        *object = known ? static_cast<Interface*>(this) : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    virtual ~Object() { --livingObjects; }

private:
    std::atomic<ULONG> references_{1};
};

class Component final : public Object<IPersist> {
public:
    STDMETHODIMP GetClassID(CLSID* id) override {
        *id = componentClass;
        return S_OK;
    }
};

class Factory final : public Object<IClassFactory> {
public:
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        *object = nullptr;
        if (outer != nullptr)
            return CLASS_E_NOAGGREGATION;
        auto* const component = new (std::nothrow) Component;
        if (component == nullptr)
            return E_OUTOFMEMORY;
        const HRESULT result = component->QueryInterface(id, object);
        component->Release();
        return result;
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        lock ? ++livingObjects : --livingObjects;
        return S_OK;
    }
};

} // namespace

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, void** object) {
    *object = nullptr;
    if (classId != componentClass)
        return CLASS_E_CLASSNOTAVAILABLE;
    auto* const factory = new (std::nothrow) Factory;
    if (factory == nullptr)
        return E_OUTOFMEMORY;
    const HRESULT result = factory->QueryInterface(id, object);
    factory->Release();
    return result;
}

STDAPI DllCanUnloadNow() { return livingObjects == 0 ? S_OK : S_FALSE; }
