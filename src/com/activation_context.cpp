#include <windows.h>

#include <kq/com/activation_context.h>
#include <kq/win32/module.h>

#include "com/activation.h"

#include <locale>
#include <stdexcept>

namespace kq::com {
namespace {

// Whether the manifest is a resource of a module of that name, by its extension.
bool IsModule(const boost::filesystem::path& name) {
    std::wstring extension = name.extension().wstring();
    for (wchar_t& character : extension)
        character = std::tolower(character, std::locale::classic());
    return extension == L".dll" || extension == L".exe";
}

HANDLE LoadManifest(const std::wstring& manifest) {
    // This operator appends also what looks like an absolute path.
    const boost::filesystem::path source = win32::GetExecutableFilename().parent_path() / manifest;
    ACTCTXW description{};
    static_assert(sizeof(description) == 56);
    description.cbSize = sizeof(description);
    description.lpSource = source.c_str();
    if (IsModule(manifest)) {
        // The resource of libraries is that of executables here as well.
        description.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
        description.lpResourceName = ISOLATIONAWARE_MANIFEST_RESOURCE_ID;
    }
    const HANDLE context = CreateActCtxW(&description);
    if (context == INVALID_HANDLE_VALUE)
        throw std::runtime_error("Failed to load manifest!");
    return context;
}

} // namespace

struct ActivationContextImpl {
    explicit ActivationContextImpl(const std::wstring& manifest) : handle(LoadManifest(manifest)) {}
    ~ActivationContextImpl() { ReleaseActCtx(handle); }
    ActivationContextImpl(const ActivationContextImpl&) = delete;
    ActivationContextImpl& operator=(const ActivationContextImpl&) = delete;

    const HANDLE handle;
};

ActivationContext::ActivationContext(const std::wstring& manifest)
    : impl_(std::make_unique<ActivationContextImpl>(manifest)) {}

ActivationContext::~ActivationContext() = default;

void* ActivationContext::GetHandle() const noexcept { return impl_->handle; }

struct ActivationContextActivationImpl {
    explicit ActivationContextActivationImpl(HANDLE context)
        : cookie(Activate(context, ActivateActCtx)) {}
    ~ActivationContextActivationImpl() { DeactivateActCtx(0, cookie); }
    ActivationContextActivationImpl(const ActivationContextActivationImpl&) = delete;
    ActivationContextActivationImpl& operator=(const ActivationContextActivationImpl&) = delete;

    const ULONG_PTR cookie;
};

ActivationContextActivation::ActivationContextActivation(const ActivationContext& context)
    : impl_(std::make_unique<ActivationContextActivationImpl>(context.GetHandle())) {}

ActivationContextActivation::~ActivationContextActivation() = default;

} // namespace kq::com
