#include <kq/com/com_usage.h>
#include <kq/xml/dom.h>

#include "require.h"
#include "stopwatch.h"
#include "table.h"
#include "xml/raw_document.h"
#include "xml/rows.h"

#include <boost/filesystem/operations.hpp>

#include <fstream>
#include <string>
#include <vector>

namespace bench {
namespace {

using boost::filesystem::path;
using kq::xml::DomDocument;
using kq::xml::DomElement;

constexpr const char* kqName = "kq";
constexpr const char* rawName = "raw COM interfaces";
constexpr const wchar_t* everyEntry = L"/log/entry";

/// A log of many entries, as a file and as a text, removed again in the end.
class Material {
public:
    explicit Material(std::size_t size)
        : folder_(boost::filesystem::temp_directory_path() /
                  boost::filesystem::unique_path("kq-bench-%%%%-%%%%")) {
        while (text_.size() < size)
            text_ += L"<entry number=\"" + std::to_wstring(entries_++) +
                     L"\" kind=\"message\"><time>12:00:00</time><text>Something has happened again,"
                     L" and somebody wants to know.</text></entry>\n";
        text_ = L"<log>" + text_ + L"</log>";
        boost::filesystem::create_directory(folder_);
        std::ofstream(File().c_str(), std::ios::binary) << std::string(text_.begin(), text_.end());
        bstr_ = SysAllocStringLen(text_.data(), static_cast<UINT>(text_.size()));
    }
    ~Material() {
        SysFreeString(bstr_);
        boost::system::error_code ignored;
        boost::filesystem::remove_all(folder_, ignored);
    }
    Material(const Material&) = delete;
    Material& operator=(const Material&) = delete;

    path File() const { return folder_ / "document.xml"; }
    path Other() const { return folder_ / "other.xml"; }
    const std::wstring& Text() const { return text_; }
    BSTR PlatformText() const { return bstr_; }
    std::size_t Entries() const { return entries_; }

private:
    const path folder_;
    std::wstring text_;
    BSTR bstr_ = nullptr;
    std::size_t entries_ = 0;
};

/// Milliseconds for one run of `work`, which runs several times when it is short. `prepare` runs
/// before each, and does not count.
template <class Work, class Prepare>
double Milliseconds(Work work, Prepare prepare) {
    constexpr double nanosecondsPerMillisecond = 1e6;
    constexpr double enough = 50;
    double total = 0;
    std::size_t runs = 0;
    while (total < enough) {
        prepare();
        const Stopwatch watch;
        work();
        total += watch.Nanoseconds() / nanosecondsPerMillisecond;
        ++runs;
    }
    return total / static_cast<double>(runs);
}
template <class Work>
double Milliseconds(Work work) {
    return Milliseconds(work, [] {});
}

/// Nanoseconds for each of the `count` nodes that `work` goes over, as often as it takes to go over
/// enough of them.
template <class Work>
double PerNode(std::size_t count, Work work) {
    constexpr std::size_t enough = 50'000;
    const std::size_t repetitions = enough / count + 1;
    const Stopwatch watch;
    for (std::size_t repetition = 0; repetition != repetitions; ++repetition)
        Require(work() == count, "a number of nodes");
    return watch.NanosecondsPer(repetitions * count);
}

void EnterLoads(Row& file, Row& text, const Material& material) {
    file.Enter(kqName,
               [&] { return Milliseconds([&] { DomDocument::CreateFromFile(material.File()); }); });
    file.EnterPeer(rawName, [&] {
        return Milliseconds([&] { RawDocument().LoadFile(material.File().native()); });
    });
    text.Enter(kqName,
               [&] { return Milliseconds([&] { DomDocument::CreateFromText(material.Text()); }); });
    text.EnterPeer(rawName, [&] {
        return Milliseconds([&] { RawDocument().LoadText(material.PlatformText()); });
    });
}

void EnterSaves(Row& file, Row& over, Row& text, const Material& material,
                const DomDocument& document, RawDocument& raw) {
    const auto save = [&] { document.SaveFile(material.Other()); };
    const auto saveRaw = [&] { raw.SaveFile(material.Other().native()); };
    const auto toNewFile = [&material](const auto& work) {
        return Milliseconds(work, [&material] { boost::filesystem::remove(material.Other()); });
    };
    file.Enter(kqName, [=] { return toNewFile(save); });
    file.EnterPeer(rawName, [=] { return toNewFile(saveRaw); });
    over.Enter(kqName, [=] { return Milliseconds(save); });
    over.EnterPeer(rawName, [=] { return Milliseconds(saveRaw); });
    text.Enter(kqName, [&] {
        return Milliseconds([&] { Require(!document.SaveText().empty(), "a saved text"); });
    });
    const auto saveText = [&](std::size_t room) {
        return Milliseconds([&] { Require(raw.SaveText(room) > 0, "a saved text"); });
    };
    text.EnterPeer("raw COM, a stream that does not grow",
                   [=, &material] { return saveText(2 * material.Text().size()); });
    text.EnterPeer("raw COM, a growing stream", [=] { return saveText(1); });
}

/// Calls `visit` for each entry of `raw`.
template <class Visit>
std::size_t ForEachEntry(RawDocument& raw, Visit visit) {
    _bstr_t xpath(everyEntry);
    IXMLDOMNodeList* list = nullptr;
    RawDocument::Check(raw->selectNodes(xpath, &list));
    std::size_t count = 0;
    while (true) {
        IXMLDOMNode* node = nullptr;
        RawDocument::Check(list->nextNode(&node));
        if (node == nullptr)
            break;
        visit(*node);
        node->Release();
        ++count;
    }
    list->Release();
    return count;
}

std::size_t SelectKq(const DomDocument& document) {
    return document.GetChildNodes(everyEntry).size();
}
std::size_t SelectRaw(RawDocument& raw) {
    // As many objects alive at once as the other has.
    std::vector<IXMLDOMNode*> nodes;
    ForEachEntry(raw, [&nodes](IXMLDOMNode& node) {
        node.AddRef();
        nodes.push_back(&node);
    });
    for (IXMLDOMNode* const node : nodes)
        node->Release();
    return nodes.size();
}

std::size_t ReadKq(const DomDocument& document) {
    std::size_t characters = 0;
    const auto entries = document.GetChildNodes(everyEntry);
    for (const auto& entry : entries) {
        characters += kq::dynamic_reference_cast<DomElement>(entry)->GetAttribute(L"number").size();
        characters += entry->GetChildNode(L"text/text()")->GetValue().size();
    }
    Require(characters > 0, "the texts that were read");
    return entries.size();
}
std::size_t ReadRaw(RawDocument& raw) {
    std::size_t characters = 0;
    _bstr_t number(L"number");
    _bstr_t xpath(L"text/text()");
    const std::size_t count = ForEachEntry(raw, [&](IXMLDOMNode& node) {
        IXMLDOMElement* element = nullptr;
        RawDocument::Check(
            node.QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(&element)));
        VARIANT value;
        VariantInit(&value);
        RawDocument::Check(element->getAttribute(number, &value));
        characters += std::wstring(V_BSTR(&value)).size();
        VariantClear(&value);
        element->Release();
        IXMLDOMNode* text = nullptr;
        RawDocument::Check(node.selectSingleNode(xpath, &text));
        RawDocument::Check(text->get_nodeValue(&value));
        characters += std::wstring(V_BSTR(&value)).size();
        VariantClear(&value);
        text->Release();
    });
    Require(characters > 0, "the texts that were read");
    return count;
}

std::size_t EditKq(DomDocument& document) {
    const auto entries = document.GetChildNodes(everyEntry);
    for (const auto& entry : entries) {
        kq::dynamic_reference_cast<DomElement>(entry)->SetAttribute(L"kind", L"edited");
        entry->GetChildNode(L"text/text()")->SetValue(L"changed");
    }
    return entries.size();
}
std::size_t EditRaw(RawDocument& raw) {
    _bstr_t kind(L"kind");
    _bstr_t xpath(L"text/text()");
    return ForEachEntry(raw, [&](IXMLDOMNode& node) {
        IXMLDOMElement* element = nullptr;
        RawDocument::Check(
            node.QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(&element)));
        RawDocument::Check(element->setAttribute(kind, _variant_t(L"edited")));
        element->Release();
        IXMLDOMNode* text = nullptr;
        RawDocument::Check(node.selectSingleNode(xpath, &text));
        RawDocument::Check(text->put_nodeValue(_variant_t(L"changed")));
        text->Release();
    });
}

std::size_t BuildKq(std::size_t count) {
    const auto document = DomDocument::Create();
    const auto root = document->AddChildNode(document->CreateElement(L"log", L""));
    for (std::size_t index = 0; index != count; ++index) {
        const auto entry = document->CreateElement(L"entry", L"");
        root->AddChildNode(entry);
        entry->SetAttribute(L"number", std::to_wstring(index));
        const auto text = document->CreateTextNode(L"");
        entry->AddChildNode(text);
        text->SetValue(L"text");
    }
    return root->GetChildNodes().size();
}

/// Creates a node and appends it to `parent`.
IXMLDOMNode* Append(IXMLDOMDocument* document, IXMLDOMNode* parent, DOMNodeType type,
                    const BSTR name) {
    IXMLDOMNode* created = nullptr;
    RawDocument::Check(
        document->createNode(_variant_t(static_cast<int>(type)), name, nullptr, &created));
    IXMLDOMNode* added = nullptr;
    RawDocument::Check(parent->appendChild(created, &added));
    created->Release();
    return added;
}

/// The same where only the parent is known.
IXMLDOMNode* AppendTo(IXMLDOMNode* parent, DOMNodeType type, const BSTR name) {
    IXMLDOMDocument* document = nullptr;
    RawDocument::Check(parent->get_ownerDocument(&document));
    IXMLDOMNode* const added = Append(document, parent, type, name);
    document->Release();
    return added;
}

/// Builds with `append` as the means to make a child of a node.
template <class Append>
std::size_t BuildRaw(std::size_t count, IXMLDOMNode* root, Append append) {
    _bstr_t entryName(L"entry");
    _bstr_t number(L"number");
    for (std::size_t index = 0; index != count; ++index) {
        IXMLDOMNode* const entry = append(root, NODE_ELEMENT, entryName);
        IXMLDOMElement* element = nullptr;
        RawDocument::Check(
            entry->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(&element)));
        RawDocument::Check(
            element->setAttribute(number, _variant_t(std::to_wstring(index).c_str())));
        element->Release();
        IXMLDOMNode* const text = append(entry, NODE_TEXT, nullptr);
        RawDocument::Check(text->put_nodeValue(_variant_t(L"text")));
        text->Release();
        entry->Release();
    }
    IXMLDOMNodeList* list = nullptr;
    RawDocument::Check(root->get_childNodes(&list));
    long length = 0;
    RawDocument::Check(list->get_length(&length));
    list->Release();
    root->Release();
    return static_cast<std::size_t>(length);
}

std::size_t BuildRaw(std::size_t count) {
    RawDocument raw;
    IXMLDOMDocument* const document = raw.operator->();
    return BuildRaw(count, Append(document, document, NODE_ELEMENT, _bstr_t(L"log")),
                    [document](IXMLDOMNode* parent, DOMNodeType type, BSTR name) {
                        return Append(document, parent, type, name);
                    });
}

std::size_t BuildFromParentsKq(std::size_t count) {
    const auto document = DomDocument::Create();
    const auto root = kq::xml::AddChildElement(*document, L"log", L"");
    for (std::size_t index = 0; index != count; ++index) {
        const auto entry = kq::xml::AddChildElement(*root, L"entry", L"");
        entry->SetAttribute(L"number", std::to_wstring(index));
        kq::xml::AddChildTextNode(*entry, L"")->SetValue(L"text");
    }
    return root->GetChildNodes().size();
}

std::size_t BuildFromParentsRaw(std::size_t count) {
    RawDocument raw;
    IXMLDOMDocument* const document = raw.operator->();
    return BuildRaw(count, Append(document, document, NODE_ELEMENT, _bstr_t(L"log")), AppendTo);
}

} // namespace

void Documents(const char* name, std::size_t size) {
    const kq::com::ComUsage com;
    const Material material(size);
    const std::size_t count = material.Entries();
    const auto document = DomDocument::CreateFromText(material.Text());
    RawDocument raw;
    raw.LoadText(material.PlatformText());

    const std::string of = std::string(" of ") + name;
    Row loadFile("Load a file" + of, "ms");
    Row loadText("Load a text" + of, "ms");
    Row saveFile("Save a file" + of, "ms");
    Row saveOver("Save a file" + of + " over another, which kq replaces in one step", "ms");
    Row saveText("Save a text" + of, "ms");
    EnterLoads(loadFile, loadText, material);
    EnterSaves(saveFile, saveOver, saveText, material, *document, raw);

    Row select("Select " + std::to_string(count) + " elements" + of, "ns/node");
    select.Enter(kqName, [&] { return PerNode(count, [&] { return SelectKq(*document); }); });
    select.EnterPeer(rawName, [&] { return PerNode(count, [&] { return SelectRaw(raw); }); });
    Row read("Read an attribute and a text of each" + of, "ns/node");
    read.Enter(kqName, [&] { return PerNode(count, [&] { return ReadKq(*document); }); });
    read.EnterPeer(rawName, [&] { return PerNode(count, [&] { return ReadRaw(raw); }); });
    Row edit("Set an attribute and a text of each" + of, "ns/node");
    edit.Enter(kqName, [&] { return PerNode(count, [&] { return EditKq(*document); }); });
    edit.EnterPeer(rawName, [&] { return PerNode(count, [&] { return EditRaw(raw); }); });
    Row build("Build a document" + of + ", node by node", "ns/node");
    build.Enter(kqName, [&] { return PerNode(count, [&] { return BuildKq(count); }); });
    build.EnterPeer(rawName, [&] { return PerNode(count, [&] { return BuildRaw(count); }); });
    Row fromParents("Build a document" + of + " from each parent", "ns/node");
    fromParents.Enter(kqName,
                      [&] { return PerNode(count, [&] { return BuildFromParentsKq(count); }); });
    fromParents.EnterPeer(
        rawName, [&] { return PerNode(count, [&] { return BuildFromParentsRaw(count); }); });

    Measure({&loadFile, &loadText, &saveFile, &saveOver, &saveText, &select, &read, &edit, &build,
             &fromParents},
            size > 5'000'000 ? 3 : 5);
    for (Row* const row : {&loadFile, &loadText, &saveFile})
        row->AimAtMostTimes(1.05);
    saveText.AimAtMostTimes(1.2);
    for (Row* const row : {&select, &read, &edit, &build, &fromParents})
        row->AimAtMostTimes(1.3);
    for (const Row* const row : {&loadFile, &loadText, &saveFile, &saveOver, &saveText, &select,
                                 &read, &edit, &build, &fromParents})
        row->Report();
}

} // namespace bench
