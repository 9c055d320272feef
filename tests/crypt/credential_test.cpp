#include <kq/crypt/credential.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using kq::crypt::Credential;
using kq::crypt::MkCredential;

namespace {

using Bytes = std::vector<unsigned char>;

/// A credential that a host implements.
class HostCredential final : public Credential::Interface {
public:
    std::unique_ptr<Interface> Clone() const override {
        return std::make_unique<HostCredential>(*this);
    }
    std::wstring UserName() const override { return L"u"; }
    Bytes Secret() const override { return {1}; }
    void WithSecret(const std::function<void(const Bytes&)>& use) const override { use({1}); }
    bool Equals(const Interface& other) const override { return other.UserName() == UserName(); }
};

Credential OfHost() { return Credential(std::make_unique<HostCredential>()); }

TEST(Credential, HoldsAUserNameAndASecret) {
    const Credential credential = MkCredential(L"Jo", Bytes{1, 0, 255});
    EXPECT_EQ(credential.UserName(), L"Jo");
    EXPECT_EQ(credential.Secret(), (Bytes{1, 0, 255}));
}

TEST(Credential, TheSecretOfATextIsItsCharactersTheLowByteFirst) {
    const Credential credential = MkCredential(L"u", std::wstring(L"a\x20AC"));
    EXPECT_EQ(credential.Secret(), (Bytes{0x61, 0x00, 0xAC, 0x20}));
    EXPECT_EQ(MkCredential(L"u", std::wstring(L"five!")).Secret().size(), 10u);
}

TEST(Credential, ATextMayHoldZerosAndHalvesOfPairs) {
    const std::wstring text{L'\0', L'\xD83D', L'\0'};
    EXPECT_EQ(MkCredential(L"u", text).Secret(), (Bytes{0, 0, 0x3D, 0xD8, 0, 0}));
}

TEST(Credential, MayBeEmpty) {
    const Credential credential = MkCredential(L"", std::wstring());
    EXPECT_EQ(credential.UserName(), L"");
    EXPECT_EQ(credential.Secret(), Bytes());
    EXPECT_EQ(credential, MkCredential(L"", Bytes()));
}

TEST(Credential, AUserNameMayHoldAZero) {
    const std::wstring userName(L"a\0b", 3);
    EXPECT_EQ(MkCredential(userName, Bytes()).UserName(), userName);
    EXPECT_NE(MkCredential(userName, Bytes()), MkCredential(L"a", Bytes()));
}

TEST(Credential, EqualsOneWithTheSameUserNameAndSecret) {
    const Credential credential = MkCredential(L"u", std::wstring(L"ab"));
    EXPECT_TRUE(credential == MkCredential(L"u", std::wstring(L"ab")));
    EXPECT_FALSE(credential != MkCredential(L"u", std::wstring(L"ab")));
    EXPECT_TRUE(credential == MkCredential(L"u", Bytes{0x61, 0x00, 0x62, 0x00}));
    const Credential& same = credential;
    EXPECT_TRUE(credential == same);
}

TEST(Credential, DiffersInTheUserNameAlsoInItsCase) {
    const Credential credential = MkCredential(L"user", std::wstring(L"ab"));
    EXPECT_FALSE(credential == MkCredential(L"User", std::wstring(L"ab")));
    EXPECT_TRUE(credential != MkCredential(L"users", std::wstring(L"ab")));
    EXPECT_TRUE(credential != MkCredential(L"", std::wstring(L"ab")));
}

TEST(Credential, DiffersInEachByteOfTheSecret) {
    const Bytes secret(16, 5);
    const Credential credential = MkCredential(L"u", secret);
    for (std::size_t place = 0; place != secret.size(); ++place) {
        Bytes other = secret;
        other[place] = 6;
        EXPECT_NE(credential, MkCredential(L"u", other)) << place;
    }
    EXPECT_NE(credential, MkCredential(L"u", Bytes(15, 5)));
    EXPECT_NE(credential, MkCredential(L"u", Bytes(17, 5)));
    EXPECT_NE(credential, MkCredential(L"u", Bytes()));
}

TEST(Credential, ShowsItsSecretOnceWithoutACopy) {
    Bytes secret{1, 2, 3};
    const unsigned char* const memory = secret.data();
    const Credential credential = MkCredential(L"u", std::move(secret));
    int calls = 0;
    credential.WithSecret([&](const Bytes& shown) {
        ++calls;
        EXPECT_EQ(shown, (Bytes{1, 2, 3}));
        EXPECT_EQ(shown.data(), memory) << "the memory that was handed in";
    });
    EXPECT_EQ(calls, 1);
}

TEST(Credential, WhatTheUserOfASecretThrowsLeavesTheCall) {
    const Credential credential = MkCredential(L"u", Bytes{1});
    const auto fail = [](const Bytes&) { throw std::out_of_range("from the caller"); };
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { credential.WithSecret(fail); }),
              "from the caller");
    EXPECT_THROW(credential.WithSecret(nullptr), std::bad_function_call);
    EXPECT_EQ(credential.Secret(), Bytes{1});
}

TEST(Credential, ACopyIsEqualAndHasItsOwnSecret) {
    std::optional<Credential> source = MkCredential(L"u", Bytes{1, 2});
    const Credential copy = *source;
    const unsigned char* sourceMemory = nullptr;
    source->WithSecret([&](const Bytes& secret) { sourceMemory = secret.data(); });
    copy.WithSecret([&](const Bytes& secret) { EXPECT_NE(secret.data(), sourceMemory); });
    EXPECT_EQ(copy, *source);
    source.reset();
    EXPECT_EQ(copy, MkCredential(L"u", Bytes{1, 2}));
}

TEST(Credential, CanBeAssigned) {
    Credential credential = MkCredential(L"u", Bytes{1});
    const Credential other = MkCredential(L"v", Bytes{2, 3});
    credential = other;
    EXPECT_EQ(credential, other);
    const Credential& same = credential;
    credential = same;
    EXPECT_EQ(credential, other);
    credential = MkCredential(L"w", Bytes{4});
    EXPECT_EQ(credential, MkCredential(L"w", Bytes{4}));
}

TEST(Credential, AMoveTakesTheSecretAlong) {
    static_assert(std::is_nothrow_move_constructible_v<Credential>);
    static_assert(std::is_nothrow_move_assignable_v<Credential>);
    Bytes secret{1, 2, 3};
    const unsigned char* const memory = secret.data();
    Credential source = MkCredential(L"u", std::move(secret));
    Credential target = std::move(source);
    target.WithSecret([&](const Bytes& shown) { EXPECT_EQ(shown.data(), memory); });
    source = MkCredential(L"v", Bytes{4});
    EXPECT_EQ(source.UserName(), L"v");
    target = std::move(source);
    EXPECT_EQ(target.UserName(), L"v");
}

TEST(Credential, WrapsWhatAHostImplements) {
    const Credential credential = OfHost();
    const Credential copy = credential; // NOLINT: the copy is what is tested
    EXPECT_EQ(copy.UserName(), L"u");
    EXPECT_EQ(copy.Secret(), Bytes{1});
    int calls = 0;
    copy.WithSecret([&](const Bytes& secret) {
        ++calls;
        EXPECT_EQ(secret, Bytes{1});
    });
    EXPECT_EQ(calls, 1);
}

TEST(Credential, NeverEqualsWhatAHostImplements) {
    EXPECT_FALSE(MkCredential(L"u", Bytes{1}) == OfHost());
    EXPECT_TRUE(MkCredential(L"u", Bytes{1}) != OfHost());
}

TEST(Credential, AsksTheImplementationOnTheLeftWhetherItEquals) {
    EXPECT_TRUE(OfHost() == MkCredential(L"u", Bytes{7}));
    EXPECT_TRUE(OfHost() != MkCredential(L"v", Bytes{1}));
}

TEST(Credential, IsNeverEmpty) {
    EXPECT_EQ(ThrownText<std::invalid_argument>([] { Credential(nullptr); }),
              "Credential may not be NULL!");
}

} // namespace

namespace credential_slots {

/// The operations of `Credential::Interface` in the order that binaries were built against, to
/// stand in for an implementation of one of those.
class InOrder {
public:
    virtual std::unique_ptr<Credential::Interface> Clone() const = 0;
    virtual std::wstring UserName() const = 0;
    virtual Bytes Secret() const = 0;
    virtual void WithSecret(const std::function<void(const Bytes&)>& use) const = 0;
    virtual bool Equals(const Credential::Interface& other) const = 0;
    virtual ~InOrder() = default;
};

/// Notes the names of the operations that are called.
class Noting final : public InOrder {
public:
    explicit Noting(std::string& notes) : notes_(notes) {}
    ~Noting() override { notes_ += "end "; }

    std::unique_ptr<Credential::Interface> Clone() const override {
        notes_ += "clone ";
        return std::make_unique<HostCredential>();
    }
    std::wstring UserName() const override {
        notes_ += "name ";
        return {};
    }
    Bytes Secret() const override {
        notes_ += "secret ";
        return {};
    }
    void WithSecret(const std::function<void(const Bytes&)>& /*use*/) const override {
        notes_ += "with ";
    }
    bool Equals(const Credential::Interface& /*other*/) const override {
        notes_ += "equals ";
        return true;
    }

private:
    std::string& notes_;
};

TEST(CredentialInterface, KeepsTheOrderOfItsOperations) {
    std::string notes;
    auto implementation = std::make_unique<Noting>(notes);
    {
        const Credential credential(std::unique_ptr<Credential::Interface>(
            reinterpret_cast<Credential::Interface*>(implementation.release())));
        const Credential copy = credential; // NOLINT: the copy is what is tested
        credential.UserName();
        credential.Secret();
        credential.WithSecret([](const Bytes&) {});
        EXPECT_TRUE(credential == copy);
    }
    EXPECT_EQ(notes, "clone name secret with equals end ");
}

} // namespace credential_slots
