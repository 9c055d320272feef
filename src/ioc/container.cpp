#include <kq/ioc/container.h>
#include <kq/thread/spin_mutex.h>

#include "thread/left_at_process_end.h"
#include "thread/platform.h"

#include <mutex>
#include <unordered_map>
#include <utility>

namespace kq::IoC {
namespace {

using Entries = std::unordered_map<std::string, std::any>;
using Lists = std::unordered_map<std::string, std::vector<std::any>>;

struct Tables {
    // No list is empty.
    Entries entries;
    Lists localLists;
    Lists removableLists;
    Lists fixedLists;
};

class CContainer final : public IContainer {
public:
    CContainer() = default;
    ~CContainer() override;

    signal::Connection ConnectIncidents(std::function<void(ContainerIncident)> listener) override {
        return incidents_.Connect(std::move(listener));
    }

    std::unique_ptr<IContainer> Clone() const override;

    void AppendFixed(std::any const& value, std::string const& key) override {
        Append(tables_->fixedLists, value, key);
    }

    void SetEntry(std::any value, std::string const& key) override {
        // The value from before goes with the parameter, after the lock.
        const std::lock_guard guard(lock_);
        tables_->entries[key].swap(value);
    }

    std::vector<std::any> GetFixed(std::string const& key) const override {
        return Get(tables_->fixedLists, key);
    }

    std::any GetEntry(std::string const& key) const override { return Get(tables_->entries, key); }

    bool RemoveEntry(std::string const& key) override { return Remove(tables_->entries, key); }

    void AppendRemovable(std::any const& value, std::string const& key) override {
        Append(tables_->removableLists, value, key);
    }

    std::vector<std::any> GetRemovable(std::string const& key) const override {
        return Get(tables_->removableLists, key);
    }

    bool RemoveRemovable(std::string const& key) override {
        return Remove(tables_->removableLists, key);
    }

    void AppendLocal(std::any const& value, std::string const& key) override {
        Append(tables_->localLists, value, key);
    }

    std::vector<std::any> GetLocal(std::string const& key) const override {
        return Get(tables_->localLists, key);
    }

    void ReportIncident(ContainerIncident const& incident) override { incidents_.Emit(incident); }

private:
    // What these leave behind is destroyed after the lock, and what they throw changes nothing.
    void Append(Lists& lists, std::any const& value, std::string const& key);
    template <class Table>
    bool Remove(Table& table, std::string const& key);
    template <class Table>
    typename Table::mapped_type Get(Table const& table, std::string const& key) const;

    thread::LeftAtProcessEnd<Tables> tables_;
    signal::CSignaler<ContainerIncident> incidents_;
    mutable thread::spin_mutex lock_; // guards the tables
};

CContainer::~CContainer() {
    // The lock may belong to a thread that was killed.
    if (thread::platform::ProcessIsEnding())
        return;
    // Out of the tables before they are destroyed, so that their destructors may still come here.
    Entries entries;
    Lists fixedLists;
    {
        const std::lock_guard guard(lock_);
        entries.swap(tables_->entries);
        fixedLists.swap(tables_->fixedLists);
    }
    entries.clear();
    fixedLists.clear();
}

std::unique_ptr<IContainer> CContainer::Clone() const {
    auto clone = std::make_unique<CContainer>();
    const std::lock_guard guard(lock_);
    clone->tables_->entries = tables_->entries;
    clone->tables_->removableLists = tables_->removableLists;
    clone->tables_->fixedLists = tables_->fixedLists;
    return clone;
}

void CContainer::Append(Lists& lists, std::any const& value, std::string const& key) {
    std::vector<std::any> added(1, value);
    const std::lock_guard guard(lock_);
    std::vector<std::any>& list = lists[key];
    if (list.empty())
        list.swap(added);
    else
        list.push_back(std::move(added.front()));
}

template <class Table>
bool CContainer::Remove(Table& table, std::string const& key) {
    typename Table::node_type removed;
    const std::lock_guard guard(lock_);
    removed = table.extract(key);
    return !removed.empty();
}

template <class Table>
typename Table::mapped_type CContainer::Get(Table const& table, std::string const& key) const {
    const std::lock_guard guard(lock_);
    const auto found = table.find(key);
    if (found == table.end())
        return {};
    return found->second;
}

} // namespace

IContainer::~IContainer() = default;

std::unique_ptr<IContainer> CreateContainer() { return std::make_unique<CContainer>(); }

} // namespace kq::IoC
