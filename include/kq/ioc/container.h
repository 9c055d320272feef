// Named values, and lists of them, for a typed front end to build on.
#pragma once

#include <kq/export.h>
#include <kq/signal/signaler.h>

#include <any>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kq {
namespace IoC {

/// What a front end reports about a container. The library hands it on without reading it.
struct ContainerIncident {
    std::string key;     ///< the entry or list that it is about
    std::string message; ///< what happened, for a person to read
    std::any detail;     ///< whatever else the front end wants to tell
};

/// The storage of an inversion-of-control container: single values by key, and three kinds of lists
/// of values by key, which differ in whether they can be removed and whether a clone has them.
/// Which keys there are and what the values mean (instances, factories) is up to the host's typed
/// front end.
///
/// |                 | can be removed | in a clone |
/// |-----------------|----------------|------------|
/// | entries         | yes            | yes        |
/// | removable lists | yes            | yes        |
/// | fixed lists     | no             | yes        |
/// | local lists     | no             | no         |
///
/// Any thread may use a container. Copies and moves of the stored values may run under its lock, so
/// they must not use the same container; the lock spins, so they should be quick. Values that were
/// replaced or removed are destroyed outside of it. What a copy throws leaves the operation, and
/// the container is then as it was; any operation that stores or copies may throw `std::bad_alloc`.
///
/// The order of the virtual functions is part of the binary interface.
class KQ_API IContainer {
public:
    IContainer() = default;
    IContainer(const IContainer&) = delete;
    IContainer& operator=(const IContainer&) = delete;

    /// Destroys all values: first those of the entries and the fixed lists, whose destructors find
    /// the container without these two but otherwise usable. Nobody else may use it any more.
    /// While the process ends, which is when the objects with static storage of a DLL end, the
    /// values are left to the system.
    virtual ~IContainer();

    /// Calls `listener` with every incident that is reported from now on, on the thread that
    /// reports it, until the last copy of the result is released.
    virtual signal::Connection ConnectIncidents(
        std::function<void(ContainerIncident)> listener) = 0;

    /// A new container with copies of the entries, the removable and the fixed lists. It has no
    /// local lists, and nobody listens to its incidents.
    virtual std::unique_ptr<IContainer> Clone() const = 0;

    /// Adds a copy of `value` at the end of the fixed list `key`, which is made when it is missing.
    virtual void AppendFixed(std::any const& value, std::string const& key) = 0;

    /// Makes `value` the entry `key`, in the place of one that is there.
    virtual void SetEntry(std::any value, std::string const& key) = 0;

    /// A copy of the fixed list `key`, in the order of appending; empty when there is none.
    virtual std::vector<std::any> GetFixed(std::string const& key) const = 0;

    /// A copy of the entry `key`; an empty `std::any` when there is none.
    virtual std::any GetEntry(std::string const& key) const = 0;

    /// Removes the entry `key`; returns whether there was one.
    virtual bool RemoveEntry(std::string const& key) = 0;

    /// As `AppendFixed`, for the removable list `key`.
    virtual void AppendRemovable(std::any const& value, std::string const& key) = 0;

    /// As `GetFixed`, for the removable list `key`.
    virtual std::vector<std::any> GetRemovable(std::string const& key) const = 0;

    /// Removes the whole removable list `key`; returns whether there was one.
    virtual bool RemoveRemovable(std::string const& key) = 0;

    /// As `AppendFixed`, for the local list `key`.
    virtual void AppendLocal(std::any const& value, std::string const& key) = 0;

    /// As `GetFixed`, for the local list `key`.
    virtual std::vector<std::any> GetLocal(std::string const& key) const = 0;

    /// Calls every listener with a copy of `incident`, in the order of connection, without the
    /// container's lock: a listener may use the container. What a listener throws leaves this call,
    /// and those after it are not called; an empty one throws `std::bad_function_call`.
    virtual void ReportIncident(ContainerIncident const& incident) = 0;
};

/// A new, empty container.
KQ_API std::unique_ptr<IContainer> CreateContainer();

} // namespace IoC
} // namespace kq
