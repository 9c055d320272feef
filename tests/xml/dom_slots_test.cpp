#include <kq/xml/dom.h>

#include "support/virtual_slot.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

using kq::shared_ref;
using kq::xml::DomDocument;
using kq::xml::DomElement;
using kq::xml::DomNode;
using kq::xml::DomTextNode;

namespace {

// See support/virtual_slot.h.
#ifndef _MSC_VER

using kq_test::SlotOf;

// A pointer to one of several operations of a name, by its return type and arguments.
template <class Class, class Result, class... Arguments>
std::size_t Slot(Result (Class::*member)(Arguments...)) {
    return SlotOf(member);
}
template <class Class, class Result, class... Arguments>
std::size_t ConstSlot(Result (Class::*member)(Arguments...) const) {
    return SlotOf(member);
}

using String = std::wstring;
template <class T>
using Ref = shared_ref<T, boost::shared_ptr>;
using Nodes = std::vector<Ref<DomNode>>;

// What follows the last operation of an interface.
struct AfterNode : DomNode {
    virtual void Next() = 0;
};
struct AfterElement : DomElement {
    virtual void Next() = 0;
};
struct AfterText : DomTextNode {
    virtual void Next() = 0;
};
struct AfterDocument : DomDocument {
    virtual void Next() = 0;
};

TEST(DomSlots, OfNodesOpenEveryInterface) {
    using I = DomNode;
    EXPECT_EQ((ConstSlot<I, Ref<const DomDocument>>(&I::GetOwnerDocument)), 0u);
    EXPECT_EQ((Slot<I, Ref<DomDocument>>(&I::GetOwnerDocument)), 1u);
    EXPECT_EQ(SlotOf(&I::GetName), 2u);
    EXPECT_EQ(SlotOf(&I::GetNamespaceURI), 3u);
    EXPECT_EQ(SlotOf(&I::HasValue), 4u);
    EXPECT_EQ(SlotOf(&I::GetValue), 5u);
    EXPECT_EQ(SlotOf(&I::SetValue), 6u);
    EXPECT_EQ(SlotOf(&I::GetAttributes), 7u);
    EXPECT_EQ(SlotOf(&I::HasChildNode), 8u);
    EXPECT_EQ(SlotOf(&I::HasChildNodes), 9u);
    EXPECT_EQ((ConstSlot<DomNode, Nodes, const String&>(&I::GetChildNodes)), 10u);
    EXPECT_EQ((ConstSlot<DomNode, Nodes>(&I::GetChildNodes)), 11u);
    EXPECT_EQ((ConstSlot<DomNode, Ref<const DomNode>, const String&>(&I::GetChildNode)), 12u);
    EXPECT_EQ((Slot<DomNode, Ref<DomNode>, const String&>(&I::GetChildNode)), 13u);
    EXPECT_EQ(SlotOf(&I::AddChildNode), 14u);
    EXPECT_EQ(SlotOf(&I::RemoveChildNode), 15u);
    EXPECT_EQ(SlotOf(&AfterNode::Next), 16u);
}

TEST(DomSlots, OfElements) {
    EXPECT_EQ(SlotOf(&DomElement::HasAttribute), 16u);
    EXPECT_EQ(SlotOf(&DomElement::GetAttribute), 17u);
    EXPECT_EQ(SlotOf(&DomElement::SetAttribute), 18u);
    EXPECT_EQ(SlotOf(&AfterElement::Next), 19u);
}

TEST(DomSlots, OfTextsAreThoseOfNodes) { EXPECT_EQ(SlotOf(&AfterText::Next), 16u); }

TEST(DomSlots, OfDocuments) {
    using D = DomDocument;
    EXPECT_EQ(SlotOf(&D::LoadText), 16u);
    EXPECT_EQ(SlotOf(&D::SaveText), 17u);
    EXPECT_EQ(SlotOf(&D::LoadFile), 18u);
    EXPECT_EQ(SlotOf(&D::SaveFile), 19u);
    EXPECT_EQ(SlotOf(&D::HasDocumentElement), 20u);
    EXPECT_EQ((ConstSlot<D, Ref<const DomElement>>(&D::GetDocumentElement)), 21u);
    EXPECT_EQ((Slot<D, Ref<DomElement>>(&D::GetDocumentElement)), 22u);
    EXPECT_EQ((Slot<D, Ref<DomElement>, const String&, const String&>(&D::CreateElement)), 23u);
    EXPECT_EQ((Slot<D, Ref<DomElement>, const String&>(&D::CreateElement)), 24u);
    EXPECT_EQ((Slot<D, Ref<DomTextNode>, const String&>(&D::CreateTextNode)), 25u);
    EXPECT_EQ((Slot<D, Ref<DomTextNode>>(&D::CreateTextNode)), 26u);
    EXPECT_EQ(SlotOf(&AfterDocument::Next), 27u);
}

#endif

TEST(DomSlots, AreNotSharedByDestructors) {
    // Objects end through the references alone.
    static_assert(!std::is_destructible_v<DomNode> && !std::is_destructible_v<DomElement> &&
                  !std::is_destructible_v<DomTextNode> && !std::is_destructible_v<DomDocument>);
    static_assert(!std::has_virtual_destructor_v<DomNode>);
    static_assert(std::is_base_of_v<DomNode, DomElement> &&
                  std::is_base_of_v<DomNode, DomTextNode> &&
                  std::is_base_of_v<DomNode, DomDocument>);
    static_assert(!std::is_copy_constructible_v<DomNode> && !std::is_copy_assignable_v<DomNode>);
}

} // namespace
