#include <kq/crypt/credential_store.h>
#include <kq/thread/scoped_locks.h>

#include "thread/left_at_process_end.h"
#include "thread/mutex.h"

#include <unordered_map>
#include <utility>

namespace kq::crypt {

struct MemoryStore {
    mutable thread::mutex mutex;
    std::unordered_map<std::wstring, Credential> credentials KQ_GUARDED_BY(mutex);
};

template <>
class Store::Impl<MemoryStore> final : public Store::Interface {
public:
    expected<void, std::exception_ptr> Save(std::wstring key,
                                            Credential credential) noexcept override {
        try {
            const thread::lock_guard guard(store_->mutex);
            store_->credentials.try_emplace(std::move(key), std::move(credential));
            return {};
        } catch (...) {
            return unexpected{std::current_exception()};
        }
    }

    std::optional<Credential> Load(const std::wstring& key) const override {
        const thread::lock_guard guard(store_->mutex);
        const auto found = store_->credentials.find(key);
        if (found == store_->credentials.end())
            return std::nullopt;
        return found->second;
    }

    bool Remove(const std::wstring& key) override {
        // Destroyed when the lock is free again.
        decltype(MemoryStore::credentials)::node_type removed;
        const thread::lock_guard guard(store_->mutex);
        removed = store_->credentials.extract(key);
        return true;
    }

private:
    thread::LeftAtProcessEnd<MemoryStore> store_;
};

Store MkMemoryCredentialStore() { return Store(std::make_unique<Store::Impl<MemoryStore>>()); }

} // namespace kq::crypt
