// XML documents as trees of nodes, over the platform's XML DOM (MSXML 6.0).
//
// Documents are created empty, from a file or from text, edited through their nodes, and saved to a
// file or to text. All text is UTF-16.
//
// COM has to be initialised on every thread that uses a document (`kq::com::ComUsage`), and all
// documents and nodes of a thread have to be gone before it is uninitialised. In a multithreaded
// apartment any thread may hold nodes, but only one at a time may use a document and its nodes. In
// a single-threaded apartment they belong to its thread.
//
// A node object stands for a node of the tree and keeps the whole document alive. The same node may
// have several objects: one is made each time that a node is returned. What the objects share is
// the node, not their address.
//
// Failures: `std::logic_error` where the caller asks for something that is not there,
// `std::runtime_error` for every other failure that has a text below, and `_com_error` (of the
// platform's <comdef.h>) where COM itself fails: E_POINTER where the platform gives no object,
// E_OUTOFMEMORY where it cannot make a text. A failed operation leaves the tree as the platform
// left it; nothing is retried.
//
// Paths to nodes are XPath expressions of the platform, relative to the node that is asked. A name
// without a prefix means no namespace, a default namespace does not reach into expressions, and
// which prefixes are known is the platform's business (MSXML knows none). Nodes in a namespace are
// selected through functions instead:
//
//     *[local-name() = 'title' and namespace-uri() = 'urn:example:book']
//
// Documents are not trusted: document types are prohibited (`ProhibitDTD`), and nothing outside the
// document is read (`resolveExternals`). A platform that takes document types all the same keeps
// references to entities as nodes without a value.
#pragma once

#include <kq/export.h>
#include <kq/shared_ref.h>

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

#include <map>
#include <string>
#include <vector>

namespace kq {
namespace xml {

class DomDocument;

/// A node of a document: an element, an attribute, a text, a comment or any other. Elements, texts
/// and documents have interfaces of their own, to which `dynamic_reference_cast` leads:
///
///     const auto child = node->GetChildNode(L"chapter[1]");
///     const auto chapter = kq::dynamic_reference_cast<kq::xml::DomElement>(child);
///
/// The order of the operations, here and in the other interfaces, is part of the binary interface.
class DomNode {
public:
    /// The document that the node belongs to, whether or not it is part of its tree; a document
    /// belongs to itself. Throws `_com_error` when the platform fails.
    virtual shared_ref<const DomDocument, boost::shared_ptr> GetOwnerDocument() const = 0;
    /// As above.
    virtual shared_ref<DomDocument, boost::shared_ptr> GetOwnerDocument() = 0;

    /// The name of an element or attribute, with its prefix; the target of a processing
    /// instruction; "#document", "#text", "#cdata-section" or "#comment" of the others. Throws
    /// `_com_error` when the platform fails.
    virtual std::wstring GetName() const = 0;

    /// The URI of the namespace that the node is in, empty for none. For a document it is that of
    /// its document element. Throws `std::runtime_error("Failed to get default namespace!")`.
    virtual std::wstring GetNamespaceURI() const = 0;

    /// Whether the node can have a value: texts, comments, attributes and processing instructions
    /// do, elements and documents do not. Throws
    /// `std::runtime_error("Failed to get node value!")`.
    virtual bool HasValue() const = 0;

    /// The value of the node, up to its first null character. Throws
    /// `std::logic_error("Value not available!")` when the node can have none,
    /// `std::runtime_error("Failed to get node value!")`, and
    /// `std::runtime_error("Node value is not a string!")`.
    virtual std::wstring GetValue() const = 0;

    /// Sets the value of the node. What XML needs escaped is escaped when the document is saved.
    /// Throws `std::runtime_error("Failed to set node value!")`, also when the node can have no
    /// value.
    virtual void SetValue(const std::wstring& value) = 0;

    /// The attributes of the node by their names. Throws `_com_error(E_POINTER)` when the node is
    /// of a kind that has no attributes, and `std::runtime_error` with the texts "Failed to get
    /// attributes!", "Failed to get attribute map size!" and "Failed to get item!".
    virtual std::map<std::wstring, shared_ref<DomNode, boost::shared_ptr>> GetAttributes()
        const = 0;

    /// Whether `xpath` selects any node. Throws `std::runtime_error("Failed to get child node!")`,
    /// also when `xpath` is no valid expression.
    virtual bool HasChildNode(const std::wstring& xpath) const = 0;

    /// Whether the node has children of any kind. Throws `_com_error` when the platform fails.
    virtual bool HasChildNodes() const = 0;

    /// Every node that `xpath` selects, in the order of the document; may be none. Throws
    /// `std::runtime_error("Failed to get child nodes!")`, also when `xpath` is no valid
    /// expression.
    virtual std::vector<shared_ref<DomNode, boost::shared_ptr>> GetChildNodes(
        const std::wstring& xpath) const = 0;

    /// The children of the node, of all kinds, in the order of the document; may be none. Throws
    /// `std::runtime_error("Failed to get child nodes!")`.
    virtual std::vector<shared_ref<DomNode, boost::shared_ptr>> GetChildNodes() const = 0;

    /// The first node that `xpath` selects. Throws `std::logic_error("Child node not available!")`
    /// when there is none, and `std::runtime_error("Failed to get child node!")`, also when `xpath`
    /// is no valid expression.
    virtual shared_ref<const DomNode, boost::shared_ptr> GetChildNode(
        const std::wstring& xpath) const = 0;
    /// As above.
    virtual shared_ref<DomNode, boost::shared_ptr> GetChildNode(const std::wstring& xpath) = 0;

    /// Appends `child` to the children of this node, and takes it from where it stood before.
    /// Returns the appended node. `child` may not be this node or one that contains it. Throws
    /// `std::runtime_error("Failed to add child node!")`, and `std::bad_cast` when `child` is not
    /// an object of this library.
    virtual shared_ref<DomNode, boost::shared_ptr> AddChildNode(
        const shared_ref<DomNode, boost::shared_ptr>& child) = 0;

    /// Removes `child` from the children of this node. Returns the removed node, which still
    /// belongs to the document and may be added again.
    ///
    /// When that fails, the name of `child` is looked up with `HasChildNode`. Throws
    /// `std::logic_error("Child node not available!")` when this node has no child of that name,
    /// and `std::runtime_error("Failed to remove child node!")` when it has one. A name that is no
    /// XPath expression ("#text", or one with a prefix that the platform does not know) ends in
    /// `std::runtime_error("Failed to get child node!")`. Throws `std::bad_cast` when `child` is
    /// not an object of this library.
    virtual shared_ref<DomNode, boost::shared_ptr> RemoveChildNode(
        const shared_ref<DomNode, boost::shared_ptr>& child) = 0;

    DomNode(const DomNode&) = delete;
    DomNode& operator=(const DomNode&) = delete;

protected:
    DomNode() = default;
    ~DomNode() = default;
};

/// An element.
class DomElement : public DomNode {
public:
    /// Whether the element has the attribute `name` (with its prefix). Throws
    /// `std::runtime_error("Failed to get attribute!")`.
    virtual bool HasAttribute(const std::wstring& name) const = 0;

    /// The value of the attribute `name` (with its prefix), up to its first null character. Throws
    /// `std::logic_error("Attribute not available!")` when the element has none,
    /// `std::runtime_error("Failed to get attribute!")`, and
    /// `std::runtime_error("Attribute is not a string!")`.
    virtual std::wstring GetAttribute(const std::wstring& name) const = 0;

    /// Gives the attribute `name` a value, and adds it when the element has none. Throws
    /// `std::runtime_error("Failed to set attribute!")`, also when `name` is no name.
    virtual void SetAttribute(const std::wstring& name, const std::wstring& value) = 0;

protected:
    DomElement() = default;
    ~DomElement() = default;
};

/// A text or a CDATA section: `GetValue` and `SetValue` are its text.
class DomTextNode : public DomNode {
protected:
    DomTextNode() = default;
    ~DomTextNode() = default;
};

/// A document.
class DomDocument : public DomNode {
public:
    /// A new document that holds nothing but `<?xml version="1.0" encoding="utf-8"?>`. White space
    /// is preserved, loading is synchronous. Throws
    /// `std::runtime_error("Failed to create encoding information!")`, and `_com_error`, with
    /// CO_E_NOTINITIALIZED when COM is not initialised on the thread.
    KQ_API static shared_ref<DomDocument, boost::shared_ptr> Create();
    /// A document with the content of the file `path`. Throws as `Create` and `LoadFile` do.
    KQ_API static shared_ref<DomDocument, boost::shared_ptr> CreateFromFile(
        const boost::filesystem::path& path);
    /// A document with the content of `text`. Throws as `Create` and `LoadText` do.
    KQ_API static shared_ref<DomDocument, boost::shared_ptr> CreateFromText(
        const std::wstring& text);

    /// Replaces the content by `text`. Nodes of the old content stay valid, outside the tree.
    ///
    /// Throws `std::runtime_error`, with the platform's reason (which may be localised), line and
    /// column in its text, after which the document may be empty:
    /// "Failed to load XML string!: <reason> in line <line> at character <column>".
    virtual void LoadText(const std::wstring& text) = 0;

    /// The document as text, with its declaration. It is saved as bytes, which are then read as
    /// UTF-8: where a loaded document declares another encoding, only ASCII comes out right. Throws
    /// `std::runtime_error` with the texts "Failed to create stream!", "Failed to save XML stream!"
    /// and "Failed to get stream memory!"; the last also for a document that has no content at all,
    /// not even a declaration.
    virtual std::wstring SaveText() const = 0;

    /// Replaces the content by that of the file `path`. The encoding is the one that the file
    /// declares, by a byte-order mark or in its declaration; without either it is UTF-8. Throws as
    /// `LoadText` does, with the text
    /// "Failed to load XML file!: <reason> in line <line> at character <column>".
    virtual void LoadFile(const boost::filesystem::path& path) = 0;

    /// Saves the document to the file `path`, in the encoding of its declaration.
    ///
    /// A file that is there already is replaced in one step by a finished one, so that a failure
    /// leaves it as it was; its attributes, access rights and streams are kept. It is overwritten
    /// in place when it is a link or has several names, is no file on a disk, is in use in a way
    /// that prevents its replacement, or stands where no other file can be made.
    ///
    /// Throws `std::runtime_error("Failed to save XML file!")`.
    virtual void SaveFile(const boost::filesystem::path& path) const = 0;

    /// Whether the document has a document element. Throws as `HasChildNode` does.
    virtual bool HasDocumentElement() const = 0;

    /// The document element. Throws `std::logic_error("Child node not available!")` when there is
    /// none, and otherwise as `GetChildNode` does.
    virtual shared_ref<const DomElement, boost::shared_ptr> GetDocumentElement() const = 0;
    /// As above.
    virtual shared_ref<DomElement, boost::shared_ptr> GetDocumentElement() = 0;

    /// A new element, which is not yet part of the tree. `name` may have a prefix, which is then
    /// that of the namespace. An empty `namespaceURI` means no namespace. Throws
    /// `std::runtime_error("Failed to create DOM element!")`.
    virtual shared_ref<DomElement, boost::shared_ptr> CreateElement(
        const std::wstring& name, const std::wstring& namespaceURI) = 0;
    /// As above, in the namespace of the document element.
    virtual shared_ref<DomElement, boost::shared_ptr> CreateElement(const std::wstring& name) = 0;

    /// A new, empty text, which is not yet part of the tree. The argument is the URI of a namespace
    /// and not the text, which is set with `SetValue` afterwards. Throws
    /// `std::runtime_error("Failed to create DOM text node!")`.
    virtual shared_ref<DomTextNode, boost::shared_ptr> CreateTextNode(
        const std::wstring& namespaceURI) = 0;
    /// As above, with the namespace of the document element.
    virtual shared_ref<DomTextNode, boost::shared_ptr> CreateTextNode() = 0;

protected:
    DomDocument() = default;
    ~DomDocument() = default;
};

/// Appends a new element to the children of `parent` and returns it. Throws as
/// `DomDocument::CreateElement` and `DomNode::AddChildNode` do.
KQ_API shared_ref<DomElement, boost::shared_ptr> AddChildElement(DomNode& parent,
                                                                 const std::wstring& name,
                                                                 const std::wstring& namespaceURI);
/// As above, in the namespace of `parent`.
KQ_API shared_ref<DomElement, boost::shared_ptr> AddChildElement(DomNode& parent,
                                                                 const std::wstring& name);

/// Appends a new, empty text to the children of `parent` and returns it. The argument is the URI of
/// a namespace and not the text, which is set with `SetValue` afterwards. Throws as
/// `DomDocument::CreateTextNode` and `DomNode::AddChildNode` do.
KQ_API shared_ref<DomTextNode, boost::shared_ptr> AddChildTextNode(
    DomNode& parent, const std::wstring& namespaceURI);
/// As above, with the namespace of `parent`.
KQ_API shared_ref<DomTextNode, boost::shared_ptr> AddChildTextNode(DomNode& parent);

/// The value of the first text among the children of `node`; a CDATA section is a text too. Throws
/// `std::logic_error("Child node not available!")` when there is none, and otherwise as
/// `DomNode::GetChildNode` and `DomNode::GetValue` do.
KQ_API std::wstring GetChildTextNodeValue(const DomNode& node);
/// Whether `node` has a text among its children. Throws as `DomNode::HasChildNode` does.
KQ_API bool HasChildTextNode(const DomNode& node);

} // namespace xml
} // namespace kq
