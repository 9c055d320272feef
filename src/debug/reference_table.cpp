#include "debug/reference_table.h"

#include <utility>

namespace kq::debug {

void ReferenceTable::Add(const void* object, const void* reference, StackPool::Stack&& stack) {
    Remove(reference);
    const StackPool::SharedStack kept = stacks_.Acquire(std::move(stack));
    try {
        records_.emplace(reference, Record{object, kept});
    } catch (...) {
        stacks_.Release(kept);
        throw;
    }
    try {
        objects_[object].insert(reference);
    } catch (...) {
        Remove(reference);
        throw;
    }
}

void ReferenceTable::Remove(const void* reference) noexcept {
    const auto record = records_.find(reference);
    if (record == records_.end())
        return;
    // Not there when the recording broke off.
    const auto object = objects_.find(record->second.object);
    if (object != objects_.end()) {
        object->second.erase(reference);
        if (object->second.empty())
            objects_.erase(object);
    }
    stacks_.Release(record->second.stack);
    records_.erase(record);
}

ReferenceTable::Stacks ReferenceTable::StacksOf(const void* object) const {
    Stacks stacks;
    const auto found = objects_.find(object);
    if (found != objects_.end())
        Append(stacks, found->second);
    return stacks;
}

ReferenceTable::Stacks ReferenceTable::AllStacks() const {
    Stacks stacks;
    stacks.reserve(records_.size());
    for (const auto& [object, references] : objects_)
        Append(stacks, references);
    return stacks;
}

void ReferenceTable::Append(Stacks& stacks, const References& references) const {
    for (const void* const reference : references)
        stacks.push_back(records_.at(reference).stack);
}

} // namespace kq::debug
