#include <kq/type/type_keyed_map.h>

#include <unordered_map>
#include <utility>

namespace kq::type {

struct TypeKeyedMapImpl {
    std::unordered_map<std::type_index, std::any> values;
};

TypeKeyedMap::TypeKeyedMap() : impl_(std::make_unique<TypeKeyedMapImpl>()) {}

TypeKeyedMap::TypeKeyedMap(const TypeKeyedMap& other)
    : impl_(std::make_unique<TypeKeyedMapImpl>(*other.impl_)) {}

TypeKeyedMap& TypeKeyedMap::operator=(const TypeKeyedMap& other) {
    if (this != &other) {
        // Kept until the end: the destructors of the old values find the map complete.
        const std::unique_ptr<TypeKeyedMapImpl> old =
            std::exchange(impl_, std::make_unique<TypeKeyedMapImpl>(*other.impl_));
    }
    return *this;
}

TypeKeyedMap::~TypeKeyedMap() = default;

void TypeKeyedMap::Set(const std::any& value) {
    const std::type_index type = value.type();
    if (impl_->values.find(type) == impl_->values.end())
        impl_->values.emplace(type, value);
}

const std::any* TypeKeyedMap::GetAny(const std::type_index& type) const {
    const auto found = impl_->values.find(type);
    return found == impl_->values.end() ? nullptr : &found->second;
}

std::any* TypeKeyedMap::GetMutableAny(const std::type_index& type) {
    const auto found = impl_->values.find(type);
    return found == impl_->values.end() ? nullptr : &found->second;
}

void TypeKeyedMap::ForEach(const std::function<void(const std::any&)>& visit) const {
    for (const auto& [type, value] : impl_->values)
        visit(value);
}

} // namespace kq::type
