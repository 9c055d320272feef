#include <kq/ioc/container.h>
#include <kq/thread/scoped_locks.h>
#include <kq/thread/spin_mutex.h>

#include "thread/left_at_process_end.h"
#include "thread/platform.h"

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
        Append(&Tables::fixedLists, value, key);
    }

    void SetEntry(std::any value, std::string const& key) override {
        // The value from before goes with the parameter, after the lock.
        const thread::lock_guard guard(lock_);
        tables_->entries[key].swap(value);
    }

    std::vector<std::any> GetFixed(std::string const& key) const override {
        return Get(&Tables::fixedLists, key);
    }

    std::any GetEntry(std::string const& key) const override { return Get(&Tables::entries, key); }

    bool RemoveEntry(std::string const& key) override { return Remove(&Tables::entries, key); }

    void AppendRemovable(std::any const& value, std::string const& key) override {
        Append(&Tables::removableLists, value, key);
    }

    std::vector<std::any> GetRemovable(std::string const& key) const override {
        return Get(&Tables::removableLists, key);
    }

    bool RemoveRemovable(std::string const& key) override {
        return Remove(&Tables::removableLists, key);
    }

    void AppendLocal(std::any const& value, std::string const& key) override {
        Append(&Tables::localLists, value, key);
    }

    std::vector<std::any> GetLocal(std::string const& key) const override {
        return Get(&Tables::localLists, key);
    }

    void ReportIncident(ContainerIncident const& incident) override { incidents_.Emit(incident); }

private:
    // What these leave behind is destroyed after the lock, and what they throw changes nothing.
    void Append(Lists Tables::*lists, std::any const& value, std::string const& key);
    template <class Table>
    bool Remove(Table Tables::*table, std::string const& key);
    template <class Table>
    typename Table::mapped_type Get(Table Tables::*table, std::string const& key) const;

    mutable thread::spin_mutex lock_;
    thread::LeftAtProcessEnd<Tables> tables_ KQ_GUARDED_BY(lock_);
    signal::CSignaler<ContainerIncident> incidents_;
};

CContainer::~CContainer() {
    // The lock may belong to a thread that was killed.
    if (thread::platform::ProcessIsEnding())
        return;
    // Out of the tables before they are destroyed, so that their destructors may still come here.
    Entries entries;
    Lists fixedLists;
    {
        const thread::lock_guard guard(lock_);
        entries.swap(tables_->entries);
        fixedLists.swap(tables_->fixedLists);
    }
    entries.clear();
    fixedLists.clear();
}

std::unique_ptr<IContainer> CContainer::Clone() const {
    auto clone = std::make_unique<CContainer>();
    const thread::lock_guard guard(lock_);
    const thread::lock_guard cloneGuard(clone->lock_);
    clone->tables_->entries = tables_->entries;
    clone->tables_->removableLists = tables_->removableLists;
    clone->tables_->fixedLists = tables_->fixedLists;
    return clone;
}

void CContainer::Append(Lists Tables::*lists, std::any const& value, std::string const& key) {
    std::vector<std::any> added(1, value);
    const thread::lock_guard guard(lock_);
    std::vector<std::any>& list = ((*tables_).*lists)[key];
    if (list.empty())
        list.swap(added);
    else
        list.push_back(std::move(added.front()));
}

template <class Table>
bool CContainer::Remove(Table Tables::*table, std::string const& key) {
    typename Table::node_type removed;
    const thread::lock_guard guard(lock_);
    removed = ((*tables_).*table).extract(key);
    return !removed.empty();
}

template <class Table>
typename Table::mapped_type CContainer::Get(Table Tables::*table, std::string const& key) const {
    const thread::lock_guard guard(lock_);
    const Table& values = (*tables_).*table;
    const auto found = values.find(key);
    if (found == values.end())
        return {};
    return found->second;
}

} // namespace

IContainer::~IContainer() = default;

std::unique_ptr<IContainer> CreateContainer() { return std::make_unique<CContainer>(); }

} // namespace kq::IoC
