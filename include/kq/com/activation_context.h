// Components that are registered only through manifests.
#pragma once

#include <kq/export.h>

#include <memory>
#include <string>

namespace kq {
namespace com {

struct ActivationContextImpl;
struct ActivationContextActivationImpl;

/// A side-by-side activation context (`CreateActCtxW`), loaded from a manifest and released at the
/// end of the scope. Any thread may use and destroy it, but not before its activations are gone.
///
///     const kq::com::ComUsage com;
///     const kq::com::ActivationContext context(L"components.manifest");
///     const kq::com::ActivationContextActivation activation(context);
class ActivationContext {
public:
    /// Loads `manifest`, a file name or a path that is always taken from the folder of the
    /// executable: one that looks absolute stays within that folder, too. With the extension ".dll"
    /// or ".exe", in upper or lower case, it is a module that has the manifest as its resource 2;
    /// with any other it is the manifest itself.
    /// Throws `std::runtime_error("Failed to load manifest!")` when the manifest is missing or
    /// invalid, or the module has no resource 2.
    KQ_API explicit ActivationContext(const std::wstring& manifest);
    /// Releases the context.
    KQ_API ~ActivationContext();
    ActivationContext(const ActivationContext&) = delete;
    ActivationContext& operator=(const ActivationContext&) = delete;

    /// The platform's handle, owned by this object.
    KQ_API void* GetHandle() const noexcept;

private:
    std::unique_ptr<ActivationContextImpl> impl_;
};

/// Makes an activation context the current one of the current thread as long as it lives
/// (`ActivateActCtx`, `DeactivateActCtx`). It has to be destroyed on the thread that created it,
/// before every activation that is older and before its context.
class ActivationContextActivation {
public:
    /// Throws `std::runtime_error("Failed to activate context!")`.
    KQ_API explicit ActivationContextActivation(const ActivationContext& context);
    /// Makes the context that was current before the current one again.
    KQ_API ~ActivationContextActivation();
    ActivationContextActivation(const ActivationContextActivation&) = delete;
    ActivationContextActivation& operator=(const ActivationContextActivation&) = delete;

private:
    std::unique_ptr<ActivationContextActivationImpl> impl_;
};

} // namespace com
} // namespace kq
