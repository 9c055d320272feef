// The operations that all nodes have.
#pragma once

#include "xml/node_access.h"
#include "xml/require.h"
#include "xml/text.h"
#include "xml/wrap.h"

#include <stdexcept>
#include <type_traits>
#include <utility>

namespace kq::xml {

/// The 16 operations of `DomNode` for the interface `Interface`.
template <class Interface>
class DomNodeHelper : public Interface {
public:
    /// What the platform's node of this interface is held by.
    using PlatformPointer =
        std::conditional_t<std::is_same_v<Interface, DomDocument>, DocumentPointer, NodePointer>;
    using Node = shared_ref<DomNode, boost::shared_ptr>;

    /// Takes the reference over: the platform's pointers count even when they are moved.
    explicit DomNodeHelper(PlatformPointer&& node) noexcept : node_(node.Detach(), false) {}

    /// Owned by this object; null when the platform gave none.
    IXMLDOMNode* PlatformNode() const noexcept { return node_.GetInterfacePtr(); }

    shared_ref<const DomDocument, boost::shared_ptr> GetOwnerDocument() const final {
        return OwnerDocument();
    }
    shared_ref<DomDocument, boost::shared_ptr> GetOwnerDocument() final { return OwnerDocument(); }

    std::wstring GetName() const final {
        PlatformText name;
        _com_util::CheckError(node_->get_nodeName(name.GetAddress()));
        return name.Get();
    }

    std::wstring GetNamespaceURI() const final {
        if constexpr (std::is_same_v<Interface, DomDocument>) {
            ElementPointer element;
            Require(node_->get_documentElement(&element), namespaceFailure);
            return element ? NamespaceOf(*element) : std::wstring();
        } else {
            return NamespaceOf(*node_);
        }
    }

    bool HasValue() const final {
        _variant_t value;
        return ReadValue(value);
    }

    std::wstring GetValue() const final {
        _variant_t value;
        if (!ReadValue(value))
            throw std::logic_error("Value not available!");
        if (V_VT(&value) != VT_BSTR)
            throw std::runtime_error("Node value is not a string!");
        return FromPlatform(V_BSTR(&value));
    }

    void SetValue(const std::wstring& value) final {
        Require(node_->put_nodeValue(ToVariant(value)), "Failed to set node value!");
    }

    std::map<std::wstring, Node> GetAttributes() const final {
        AttributeMapPointer attributes;
        Require(node_->get_attributes(&attributes), "Failed to get attributes!");
        long count = 0;
        Require(attributes->get_length(&count), "Failed to get attribute map size!");
        std::map<std::wstring, Node> result;
        for (long index = 0; index != count; ++index) {
            NodePointer item;
            Require(attributes->get_item(index, &item), "Failed to get item!");
            const Node attribute = Wrap(std::move(item));
            result.emplace(attribute->GetName(), attribute);
        }
        return result;
    }

    bool HasChildNode(const std::wstring& xpath) const final {
        return SelectNode(xpath) != nullptr;
    }

    bool HasChildNodes() const final {
        VARIANT_BOOL has = VARIANT_FALSE;
        _com_util::CheckError(node_->hasChildNodes(&has));
        return has != VARIANT_FALSE;
    }

    std::vector<Node> GetChildNodes(const std::wstring& xpath) const final {
        NodeListPointer list;
        Require(node_->selectNodes(ToPlatform(xpath), &list), childrenFailure);
        return WrapAll(list);
    }

    std::vector<Node> GetChildNodes() const final {
        NodeListPointer list;
        Require(node_->get_childNodes(&list), childrenFailure);
        return WrapAll(list);
    }

    shared_ref<const DomNode, boost::shared_ptr> GetChildNode(
        const std::wstring& xpath) const final {
        return ChildNode(xpath);
    }
    Node GetChildNode(const std::wstring& xpath) final { return ChildNode(xpath); }

    Node AddChildNode(const Node& child) final {
        NodePointer added;
        Require(node_->appendChild(DomNodeAccess::PlatformNode(*child), &added),
                "Failed to add child node!");
        return Wrap(std::move(added));
    }

    Node RemoveChildNode(const Node& child) final {
        NodePointer removed;
        if (FAILED(node_->removeChild(DomNodeAccess::PlatformNode(*child), &removed))) {
            if (!HasChildNode(child->GetName()))
                throw std::logic_error(noChild);
            throw std::runtime_error("Failed to remove child node!");
        }
        return Wrap(std::move(removed));
    }

protected:
    ~DomNodeHelper() = default;

    const PlatformPointer& Platform() const noexcept { return node_; }

private:
    static constexpr const char* namespaceFailure = "Failed to get default namespace!";
    static constexpr const char* childrenFailure = "Failed to get child nodes!";
    static constexpr const char* noChild = "Child node not available!";

    shared_ref<DomDocument, boost::shared_ptr> OwnerDocument() const {
        if constexpr (std::is_same_v<Interface, DomDocument>) {
            return WrapDocument(DocumentPointer(node_));
        } else {
            DocumentPointer document;
            _com_util::CheckError(node_->get_ownerDocument(&document));
            return WrapDocument(std::move(document));
        }
    }

    static std::wstring NamespaceOf(IXMLDOMNode& node) {
        PlatformText uri;
        Require(node.get_namespaceURI(uri.GetAddress()), namespaceFailure);
        return uri.Get();
    }

    /// Returns whether the node can have a value.
    bool ReadValue(_variant_t& value) const {
        const HRESULT result = node_->get_nodeValue(&value);
        Require(result, "Failed to get node value!");
        return result == S_OK;
    }

    /// Returns null when there is none.
    NodePointer SelectNode(const std::wstring& xpath) const {
        NodePointer node;
        Require(node_->selectSingleNode(ToPlatform(xpath), &node), "Failed to get child node!");
        return node;
    }

    Node ChildNode(const std::wstring& xpath) const {
        NodePointer node = SelectNode(xpath);
        if (!node)
            throw std::logic_error(noChild);
        return Wrap(std::move(node));
    }

    /// Goes from node to node: some platforms look for each index from the beginning.
    static std::vector<Node> WrapAll(const NodeListPointer& list) {
        std::vector<Node> result;
        long length = 0;
        Require(list->get_length(&length), childrenFailure);
        result.reserve(static_cast<std::size_t>(length));
        while (true) {
            NodePointer node;
            Require(list->nextNode(&node), childrenFailure);
            if (!node)
                return result;
            result.push_back(Wrap(std::move(node)));
        }
    }

    const PlatformPointer node_;
};

} // namespace kq::xml
