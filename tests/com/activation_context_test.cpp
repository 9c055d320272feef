#include <windows.h>

#include <kq/com/activation_context.h>
#include <kq/com/com_usage.h>

#include "com/component.h"
#include "support/handle_level.h"
#include "support/heap_level.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <objbase.h>
#include <objidl.h>

#include <string>
#include <thread>
#include <type_traits>

using kq::com::ActivationContext;
using kq::com::ActivationContextActivation;
using kq::com::ComUsage;

namespace {

constexpr char failure[] = "Failed to load manifest!";
constexpr int rounds = 10'000;
// More blocks than anything else takes or gives back meanwhile, far fewer than one a round.
constexpr std::size_t heapTolerance = 1'000;

// Creates the component and asks it for its class.
HRESULT CreateComponent() {
    IPersist* component = nullptr;
    const HRESULT result =
        CoCreateInstance(componentClass, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IPersist),
                         reinterpret_cast<void**>(&component));
    if (FAILED(result))
        return result;
    CLSID found{};
    component->GetClassID(&found);
    component->Release();
    return found == componentClass ? S_OK : E_FAIL;
}

HANDLE CurrentContext() {
    HANDLE context = nullptr;
    GetCurrentActCtx(&context);
    ReleaseActCtx(context);
    return context;
}

std::string FailureOf(const std::wstring& manifest) {
    return ThrownText<std::runtime_error>([&] { ActivationContext{manifest}; });
}

TEST(ActivationContext, IsNotCopied) {
    static_assert(!std::is_copy_constructible_v<ActivationContext>);
    static_assert(!std::is_copy_assignable_v<ActivationContext>);
    static_assert(!std::is_copy_constructible_v<ActivationContextActivation>);
    static_assert(!std::is_copy_assignable_v<ActivationContextActivation>);
}

TEST(ActivationContext, RegistersAComponentWhileItIsActive) {
    const ComUsage com;
    EXPECT_EQ(CreateComponent(), REGDB_E_CLASSNOTREG);
    const ActivationContext context(L"kq_test_component.manifest");
    EXPECT_EQ(CreateComponent(), REGDB_E_CLASSNOTREG);
    {
        const ActivationContextActivation activation(context);
        EXPECT_EQ(CreateComponent(), S_OK);
    }
    EXPECT_EQ(CreateComponent(), REGDB_E_CLASSNOTREG);
}

TEST(ActivationContext, MayBeActivatedAgainAndNested) {
    const ComUsage com;
    const HANDLE before = CurrentContext();
    const ActivationContext first(L"kq_test_component.manifest");
    const ActivationContext second(L"kq_test_component.dll");
    EXPECT_NE(first.GetHandle(), second.GetHandle());
    for (int time = 0; time != 2; ++time) {
        const ActivationContextActivation outer(first);
        EXPECT_EQ(CurrentContext(), first.GetHandle());
        {
            const ActivationContextActivation inner(second);
            EXPECT_EQ(CurrentContext(), second.GetHandle());
            EXPECT_EQ(CreateComponent(), S_OK);
        }
        EXPECT_EQ(CurrentContext(), first.GetHandle());
    }
    EXPECT_EQ(CurrentContext(), before);
}

TEST(ActivationContext, IsActiveOnItsThreadOnly) {
    const HANDLE before = CurrentContext();
    const ActivationContext context(L"kq_test_component.manifest");
    HANDLE there = nullptr;
    std::thread([&] {
        const ActivationContextActivation activation(context);
        there = CurrentContext();
    }).join();
    EXPECT_EQ(there, context.GetHandle());
    EXPECT_EQ(CurrentContext(), before);
}

TEST(ActivationContext, TakesResourceTwoOfALibrary) {
    const ComUsage com;
    for (const wchar_t* const name :
         {L"kq_test_component.dll", L"kq_test_component.DLL", L"KQ_TEST_COMPONENT.Dll"}) {
        const ActivationContext context(name);
        const ActivationContextActivation activation(context);
        EXPECT_EQ(CreateComponent(), S_OK);
    }
}

TEST(ActivationContext, TakesResourceTwoOfAnExecutable) {
    const ComUsage com;
    for (const wchar_t* const name :
         {L"com_activation_context_test.exe", L"com_activation_context_test.EXE"}) {
        const ActivationContext context(name);
        const ActivationContextActivation activation(context);
        EXPECT_EQ(CreateComponent(), S_OK);
    }
}

TEST(ActivationContext, TakesOtherNamesAsTheManifestItself) {
    EXPECT_NO_THROW(ActivationContext(L"kq_test_component.manifest"));
    EXPECT_NO_THROW(ActivationContext(L"KQ_TEST_COMPONENT.MANIFEST"));
    // The same text, but under the name of a library.
    EXPECT_EQ(FailureOf(L"kq_test_text.dll"), failure);
}

TEST(ActivationContext, IsFoundFromTheExecutablesFolder) {
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    ASSERT_TRUE(SetCurrentDirectoryW(L"C:\\windows"));
    EXPECT_NO_THROW(ActivationContext(L"kq_test_component.manifest"));
    EXPECT_NO_THROW(ActivationContext(L"kq_test_folder\\kq_test_component.manifest"));
    EXPECT_TRUE(SetCurrentDirectoryW(folder.c_str()));
}

TEST(ActivationContext, OfAnAbsoluteNameStaysInTheExecutablesFolder) {
    std::wstring file(32'768, L'\0');
    file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    const std::wstring folder = file.substr(0, file.rfind(L'\\'));
    EXPECT_EQ(FailureOf(folder + L"\\kq_test_component.manifest"), failure);
    EXPECT_NO_THROW(ActivationContext(L"\\kq_test_component.manifest"));
}

TEST(ActivationContext, FailsWithoutAManifest) {
    EXPECT_EQ(FailureOf(L"no such file.manifest"), failure);
    EXPECT_EQ(FailureOf(L"no such file.dll"), failure);
    EXPECT_EQ(FailureOf(L""), failure);
}

TEST(ActivationContext, FailsForAnInvalidManifest) {
    EXPECT_EQ(FailureOf(L"kq_test_broken.manifest"), failure);
}

TEST(ActivationContext, FailsForALibraryWithoutResourceTwo) {
    EXPECT_EQ(FailureOf(L"kq_test_bare.dll"), failure);
}

TEST(ActivationContext, LeaksNothing) {
    for (const wchar_t* const name : {L"kq_test_component.manifest", L"kq_test_component.dll"}) {
        { const ActivationContext warmUp(name); }
        const auto handles = HandleLevel();
        const auto blocks = HeapLevel();
        for (int round = 0; round != rounds; ++round)
            const ActivationContext context(name);
        EXPECT_EQ(HandleLevel(), handles);
        EXPECT_LT(HeapLevel(), blocks + heapTolerance);
    }
}

TEST(ActivationContext, LeaksNothingWhenItIsActivated) {
    const ActivationContext context(L"kq_test_component.manifest");
    { const ActivationContextActivation warmUp(context); }
    const auto handles = HandleLevel();
    const auto blocks = HeapLevel();
    for (int round = 0; round != rounds; ++round)
        const ActivationContextActivation activation(context);
    EXPECT_EQ(HandleLevel(), handles);
    EXPECT_LT(HeapLevel(), blocks + heapTolerance);
}

TEST(ActivationContext, LeaksNothingWhenItFails) {
    for (const wchar_t* const name :
         {L"no such file.manifest", L"kq_test_broken.manifest", L"kq_test_bare.dll"}) {
        FailureOf(name);
        const auto handles = HandleLevel();
        const auto blocks = HeapLevel();
        for (int round = 0; round != rounds; ++round)
            ASSERT_EQ(FailureOf(name), failure);
        EXPECT_EQ(HandleLevel(), handles) << testing::PrintToString(name);
        EXPECT_LT(HeapLevel(), blocks + heapTolerance) << testing::PrintToString(name);
    }
}

} // namespace
