#include <kq/debug/symbol_handler.h>
#include <kq/debug/track_list.h>

#include "debug/process_track_list.h"
#include "debug/stack_pool.h"
#include "thread/mutex.h"

#include <windows.h>

#include <mutex>
#include <new>
#include <sstream>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kq::debug {

namespace {

StackPool::Stack CurrentStack() {
    // Shared, so that it outlives a release of the singleton meanwhile. Empty, it throws.
    const boost::shared_ptr<SymbolHandler> handler = symbolHandler.GetShared();
    return handler != nullptr ? handler->GetCallStack() : symbolHandler->GetCallStack();
}

} // namespace

// A reference stands in the set of exactly the object that its record names, and an object without
// references in no table.
class TrackListImpl {
public:
    void Add(const void* object, const void* reference, StackPool::Stack stack) {
        const std::lock_guard guard(mutex_);
        Forget(reference);
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
            Forget(reference);
            throw;
        }
    }

    void Remove(const void* reference) noexcept {
        const std::lock_guard guard(mutex_);
        Forget(reference);
    }

    void Dump(const void* object) const {
        Write([&](Stacks& stacks) {
            const auto found = objects_.find(object);
            if (found != objects_.end())
                Append(stacks, found->second);
        });
    }

    void DumpAll() const {
        Write([&](Stacks& stacks) {
            for (const auto& [object, references] : objects_)
                Append(stacks, references);
        });
    }

private:
    struct Record {
        const void* object;
        StackPool::SharedStack stack;
    };
    using References = std::unordered_set<const void*>;
    using Stacks = std::vector<StackPool::SharedStack>;

    void Forget(const void* reference) noexcept {
        const auto record = records_.find(reference);
        if (record == records_.end())
            return;
        const auto object = objects_.find(record->second.object);
        if (object != objects_.end()) {
            object->second.erase(reference);
            if (object->second.empty())
                objects_.erase(object);
        }
        stacks_.Release(record->second.stack);
        records_.erase(record);
    }

    void Append(Stacks& stacks, const References& references) const {
        for (const void* const reference : references)
            stacks.push_back(records_.at(reference).stack);
    }

    // Collects under the lock of the tables and writes without it: a debugger may stop the thread
    // for as long as it likes.
    template <class Collect>
    void Write(Collect collect) const {
        const std::lock_guard output(outputMutex_);
        Stacks stacks;
        {
            const std::lock_guard guard(mutex_);
            collect(stacks);
        }
        for (const StackPool::SharedStack& stack : stacks) {
            std::wostringstream text;
            text << *stack;
            OutputDebugStringW(text.str().c_str());
        }
    }

    mutable thread::mutex outputMutex_;
    mutable thread::mutex mutex_;
    std::unordered_map<const void*, Record> records_;
    std::unordered_map<const void*, References> objects_;
    StackPool stacks_;
};

namespace {

// In raw storage, because nothing may be destroyed at process exit.
alignas(track_list) unsigned char trackListStorage[sizeof(track_list)];

} // namespace

track_list& g_trackList = reinterpret_cast<track_list&>(trackListStorage);

void ConstructTrackList() { new (trackListStorage) track_list; }
void DestroyTrackList() noexcept { g_trackList.~track_list(); }

track_list::track_list() : impl_(std::make_unique<TrackListImpl>()) {}
track_list::~track_list() = default;

void track_list::AddReference(void const* object, void const* reference) {
    if (object != nullptr)
        impl_->Add(object, reference, CurrentStack());
}

void track_list::RemoveReference(void const* object, void const* reference) {
    if (object != nullptr)
        impl_->Remove(reference);
}

void track_list::ResetReference(void const* oldObject, void const* newObject,
                                void const* reference) {
    if (newObject != nullptr)
        impl_->Add(newObject, reference, CurrentStack());
    else if (oldObject != nullptr)
        impl_->Remove(reference);
}

void track_list::Dump(void const* object) const {
    if (object != nullptr)
        impl_->Dump(object);
}

void track_list::DumpAll() const { impl_->DumpAll(); }

} // namespace kq::debug
