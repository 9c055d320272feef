// Who still holds a reference to an object.
#pragma once

#include <kq/export.h>

#include <memory>

namespace kq {
namespace debug {

class TrackListImpl;

/// Finds out who keeps an object alive. The code that takes, moves and drops references reports
/// that here, naming object and reference by their addresses; the tracker records the call stack at
/// which each living reference was taken and writes those stacks to the debugger on request.
///
///     kq::debug::g_trackList.AddReference(object.get(), &object); // a shared pointer was made
///     kq::debug::g_trackList.Dump(suspect);                       // who made the others?
///
/// A reference is recorded for one object at a time. Addresses are compared only, never followed.
///
/// Every operation may be called from any thread at once. To take a reference costs a call stack of
/// the thread (`SymbolHandler::GetCallStack`); the rest does not depend on how many there are.
/// Equal stacks are kept once.
class track_list {
public:
    /// Throws `std::bad_alloc`.
    KQ_API track_list();
    KQ_API ~track_list();
    track_list(const track_list&) = delete;
    track_list& operator=(const track_list&) = delete;

    /// Records that `reference` refers to `object` from now on, and no longer to what it referred
    /// to before, with the call stack of the calling thread. Does nothing when `object` is null.
    ///
    /// Throws what `symbolHandler` and its `GetCallStack` throw, and then changes nothing; with
    /// `std::bad_alloc` the reference may be forgotten.
    KQ_API void AddReference(void const* object, void const* reference);

    /// Forgets `reference`, also when it is recorded for another object than `object`. Does nothing
    /// when `object` is null or the reference is unknown.
    KQ_API void RemoveReference(void const* object, void const* reference);

    /// Moves `reference` from `oldObject` to `newObject`: `RemoveReference` and `AddReference` in
    /// one step, of which nothing happens for an object that is null. Throws as `AddReference`.
    KQ_API void ResetReference(void const* oldObject, void const* newObject, void const* reference);

    /// Writes the stack of every reference to `object` to the debugger (`OutputDebugStringW`), each
    /// as one text, its frames on lines of their own without a line break at the end. Nothing else
    /// is written, and nothing at all when `object` is null or has no references. The order is
    /// arbitrary.
    ///
    /// What is written is what was recorded when the call began to write. References may be taken
    /// and dropped meanwhile; another dump of this tracker waits.
    KQ_API void Dump(void const* object) const;
    /// `Dump` for every object, in arbitrary order.
    KQ_API void DumpAll() const;

private:
    std::unique_ptr<TrackListImpl> impl_;
};

/// The tracker of the process, which lives from the loading of the library to its end. The library
/// itself reports nothing to it.
extern KQ_API track_list& g_trackList;

} // namespace debug
} // namespace kq
