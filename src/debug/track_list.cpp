#include <kq/debug/symbol_handler.h>
#include <kq/debug/track_list.h>

#include "debug/process_track_list.h"
#include "debug/reference_table.h"
#include "debug/stack_pool.h"
#include "thread/mutex.h"
#include "thread/surviving_lock.h"

#include <windows.h>

#include <new>
#include <sstream>
#include <utility>

namespace kq::debug {

namespace {

StackPool::Stack CurrentStack() {
    // Shared, so that it outlives a release of the singleton meanwhile. Empty, it throws.
    const boost::shared_ptr<SymbolHandler> handler = symbolHandler.GetShared();
    return handler != nullptr ? handler->GetCallStack() : symbolHandler->GetCallStack();
}

} // namespace

// The destructors of a host's objects drop references, also those that run while the process ends.
// Where a lock can no longer be had, nothing is left to be done.
class TrackListImpl {
public:
    void Add(const void* object, const void* reference, StackPool::Stack stack) {
        const thread::SurvivingLock lock(mutex_);
        if (lock.IsHeld())
            references_.Add(object, reference, std::move(stack));
    }

    void Remove(const void* reference) noexcept {
        const thread::SurvivingLock lock(mutex_);
        if (lock.IsHeld())
            references_.Remove(reference);
    }

    /// Collects under the lock of the table and writes without it: a debugger may stop the thread
    /// for as long as it likes.
    template <class Collect>
    void Write(Collect collect) const {
        const thread::SurvivingLock output(outputMutex_);
        if (!output.IsHeld())
            return;
        for (const StackPool::SharedStack& stack : Collected(collect)) {
            std::wostringstream text;
            text << *stack;
            OutputDebugStringW(text.str().c_str());
        }
    }

private:
    template <class Collect>
    ReferenceTable::Stacks Collected(Collect collect) const {
        const thread::SurvivingLock lock(mutex_);
        if (lock.IsHeld())
            return collect(references_);
        return ReferenceTable::Stacks();
    }

    mutable thread::mutex outputMutex_;
    mutable thread::mutex mutex_;
    ReferenceTable references_ KQ_GUARDED_BY(mutex_);
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
        impl_->Write([=](const ReferenceTable& table) { return table.StacksOf(object); });
}

void track_list::DumpAll() const {
    impl_->Write([](const ReferenceTable& table) { return table.AllStacks(); });
}

} // namespace kq::debug
