// Credentials and messages when memory runs out.
#include <kq/crypt/credential.h>
#include <kq/crypt/credential_store.h>
#include <kq/win32/message.h>

#include "faults/each_allocation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

using namespace kq::crypt;
using kq::win32::Message;
using kq::win32::MessageArguments;
using kq::win32::MessageId;
using kq_test::FailEachAllocation;

namespace {

const std::wstring key(100, L'k');

Credential MakeCredential() {
    return MkCredential(std::wstring(100, L'u'), std::vector<unsigned char>{1, 2, 3});
}

// The store answers with the exception instead of throwing it.
void Save(Store& store) {
    const auto saved = store.Save(key, MakeCredential());
    if (!saved)
        std::rethrow_exception(saved.error());
}

TEST(ValueFaults, SavingACredentialWithoutMemoryTellsTheCaller) {
    EXPECT_GT(
        FailEachAllocation([] { return std::make_unique<Store>(MkMemoryCredentialStore()); }, Save,
                           [](Store& store) {
                               EXPECT_NO_THROW(Save(store));
                               EXPECT_TRUE(store.Load(key) == MakeCredential());
                           }),
        0);
}

TEST(ValueFaults, BuildingAMessageWithoutMemoryTellsTheCaller) {
    constexpr std::uint32_t invalidHandle = 6; // ERROR_INVALID_HANDLE
    const std::wstring text(100, L'a');
    EXPECT_GT(FailEachAllocation(
                  [] { return std::make_unique<MessageArguments>(); },
                  [&](MessageArguments& arguments) {
                      arguments << text << 1;
                      EXPECT_NE(Message(MessageId{invalidHandle}, arguments).Format(), L"");
                  },
                  [&](MessageArguments& arguments) {
                      const auto count = arguments.GetCount();
                      arguments << text;
                      EXPECT_EQ(arguments.GetCount(), count + 1);
                      EXPECT_EQ(arguments.GetFormatted().back(), text);
                      EXPECT_NE(Message(MessageId{invalidHandle}, arguments).Format(), L"");
                  }),
              0);
}

} // namespace
