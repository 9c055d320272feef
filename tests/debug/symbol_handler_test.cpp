#include <windows.h>

#include <kq/debug/symbol_handler.h>

#include "support/stack_entries.h"

#include <gtest/gtest.h>

#include <dbghelp.h>

#include <cstdint>
#include <set>
#include <string>
#include <type_traits>

using kq::debug::GetLoadedModuleNames;
using kq::debug::symbolHandler;
using kq::debug::SymbolHandler;
using kq_test::FileNameOf;
using kq_test::FindFrame;

namespace {

bool KnowsThisFunction() {
    return SymGetModuleBase64(GetCurrentProcess(),
                              reinterpret_cast<std::uint64_t>(&KnowsThisFunction)) != 0;
}

/// Debug-help may report names with folders and extensions, or without.
std::string Stem(const std::string& path) {
    const std::string name = FileNameOf(path);
    return name.substr(0, name.rfind('.'));
}

TEST(SymbolHandlers, AreMadeByCreateOnly) {
    static_assert(!std::is_default_constructible_v<SymbolHandler>);
    static_assert(!std::is_copy_constructible_v<SymbolHandler>);
    static_assert(!std::is_copy_assignable_v<SymbolHandler>);
    static_assert(!std::is_destructible_v<SymbolHandler>);
    static_assert(
        std::is_same_v<decltype(symbolHandler), kq::Singleton<SymbolHandler, boost::shared_ptr>>);
}

TEST(SymbolHandlers, LeaveTheSymbolsOpenForEachOther) {
    const auto first = SymbolHandler::Create();
    {
        const auto second = SymbolHandler::Create();
        EXPECT_NE(FindFrame(second->GetCallStack(), "TestBody"), nullptr);
    }
    EXPECT_TRUE(KnowsThisFunction());
    EXPECT_NE(FindFrame(first->GetCallStack(), "TestBody"), nullptr);
    EXPECT_NE(FindFrame(symbolHandler->GetCallStack(), "TestBody"), nullptr);
}

TEST(SymbolHandlers, CanBeInstalledAnew) {
    symbolHandler = SymbolHandler::Create();
    EXPECT_NE(FindFrame(symbolHandler->GetCallStack(), "TestBody"), nullptr);
    const auto before = symbolHandler.GetShared();
    symbolHandler = SymbolHandler::Create();
    EXPECT_NE(FindFrame(symbolHandler->GetCallStack(), "TestBody"), nullptr);
    EXPECT_NE(FindFrame(before->GetCallStack(), "TestBody"), nullptr);
}

TEST(SymbolHandlers, CloseTheSymbolsWithTheLast) {
    symbolHandler->GetCallStack();
    EXPECT_TRUE(KnowsThisFunction());
    auto copy = symbolHandler.GetShared();
    symbolHandler.Reset();
    EXPECT_TRUE(KnowsThisFunction());
    EXPECT_NE(FindFrame(copy->GetCallStack(), "TestBody"), nullptr);
    copy.reset();
    EXPECT_FALSE(KnowsThisFunction());
    symbolHandler = SymbolHandler::Create();
    EXPECT_NE(FindFrame(symbolHandler->GetCallStack(), "TestBody"), nullptr);
}

TEST(SymbolHandlers, OpenTheSymbolsWhenTheyAreNeeded) {
    symbolHandler.Reset();
    symbolHandler = SymbolHandler::Create();
    EXPECT_FALSE(SymCleanup(GetCurrentProcess())); // there is nothing to be closed
    EXPECT_NE(FindFrame(symbolHandler->GetCallStack(), "TestBody"), nullptr);
}

TEST(SymbolHandlers, RefreshWithoutAStack) {
    symbolHandler.Reset();
    symbolHandler = SymbolHandler::Create();
    EXPECT_FALSE(KnowsThisFunction());
    symbolHandler->RefreshModuleList();
    EXPECT_TRUE(KnowsThisFunction());
}

TEST(LoadedModuleNames, AreThoseOfTheProcess) {
    std::set<std::string> names;
    for (const std::string& name : GetLoadedModuleNames())
        names.insert(Stem(name));
    EXPECT_EQ(names.count("kq"), 1u);
    EXPECT_EQ(names.count("debug_symbol_handler_test"), 1u);
    EXPECT_EQ(names.count("ntdll"), 1u);
    EXPECT_EQ(names.count("winhttp"), 0u);
}

TEST(LoadedModuleNames, ChangeWithTheModules) {
    const std::set<std::string> before = GetLoadedModuleNames();
    const HMODULE module = LoadLibraryW(L"kq_test_bare_caller.dll");
    ASSERT_NE(module, nullptr);
    const std::set<std::string> during = GetLoadedModuleNames();
    FreeLibrary(module);
    EXPECT_EQ(during.size(), before.size() + 1);
    EXPECT_EQ(GetLoadedModuleNames(), before);
}

TEST(LoadedModuleNames, NeedNoSymbolHandler) {
    const auto handler = symbolHandler.GetShared();
    symbolHandler.Reset();
    EXPECT_FALSE(GetLoadedModuleNames().empty());
    symbolHandler = handler;
}

} // namespace
