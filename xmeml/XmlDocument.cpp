#include "xmeml/XmlDocument.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <climits>
#include <fstream>
#include <iterator>
#include <new>
#include <vector>

namespace qrl {

namespace {

constexpr int kParseOptions = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOERROR |
                              XML_PARSE_NOWARNING | XML_PARSE_NOBLANKS | XML_PARSE_NODICT;

const xmlChar* chars(const std::string& s) {
  return reinterpret_cast<const xmlChar*>(s.c_str());
}

std::string text(const xmlChar* c) {
  return c == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(c));
}

// libxml2 reports some problems through its global handler whatever the
// parse options say; a service has no use for them on standard error.
void ignoreMessage(void*, const char*, ...) {}

}  // namespace

XmlDocument::XmlDocument() : doc_(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"))) {
  if (doc_ == nullptr)
    throw std::bad_alloc();
}

XmlDocument::~XmlDocument() {
  xmlFreeDoc(doc_);
}

std::unique_ptr<XmlDocument> XmlDocument::adopt(_xmlDoc* doc) {
  if (doc == nullptr)
    return nullptr;
  std::unique_ptr<XmlDocument> owned(new XmlDocument(doc));
  if (xmlDocGetRootElement(doc) == nullptr)
    return nullptr;
  return owned;
}

std::unique_ptr<XmlDocument> XmlDocument::parseData(std::span<const uint8_t> bytes) {
  if (bytes.size() > static_cast<size_t>(INT_MAX))
    return nullptr;
  // libxml2 wants its global state set up once before threads may parse.
  static const bool initialised = [] {
    xmlInitParser();
    return true;
  }();
  (void)initialised;
  xmlSetGenericErrorFunc(nullptr, ignoreMessage);
  return adopt(xmlReadMemory(reinterpret_cast<const char*>(bytes.data()),
                             static_cast<int>(bytes.size()), nullptr, nullptr, kParseOptions));
}

std::unique_ptr<XmlDocument> XmlDocument::parseFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in)
    return nullptr;
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  if (in.bad())
    return nullptr;
  return parseData(bytes);
}

XmlNode XmlDocument::node() const {
  return XmlNode(reinterpret_cast<xmlNode*>(doc_));
}

XmlNode XmlDocument::rootElement() const {
  return XmlNode(xmlDocGetRootElement(doc_));
}

void XmlDocument::setRootElement(XmlElement root) {
  if (!root)
    return;
  xmlNode* old = xmlDocSetRootElement(doc_, root.release());
  if (old != nullptr)
    xmlFreeNode(old);
}

std::string XmlDocument::version() const {
  return text(doc_->version);
}

void XmlDocument::setVersion(std::string_view version) {
  std::string v(version);
  xmlFree(const_cast<xmlChar*>(doc_->version));
  doc_->version = xmlStrdup(chars(v));
}

std::optional<std::string> XmlDocument::characterEncoding() const {
  if (doc_->encoding == nullptr)
    return std::nullopt;
  return text(doc_->encoding);
}

void XmlDocument::setCharacterEncoding(std::string_view encoding) {
  std::string e(encoding);
  xmlFree(const_cast<xmlChar*>(doc_->encoding));
  doc_->encoding = xmlStrdup(chars(e));
}

void XmlDocument::setDocumentTypeName(std::string_view name) {
  if (xmlDtd* old = xmlGetIntSubset(doc_)) {
    xmlUnlinkNode(reinterpret_cast<xmlNode*>(old));
    xmlFreeDtd(old);
  }
  std::string n = xmlSafeText(name);
  if (xmlCreateIntSubset(doc_, chars(n), nullptr, nullptr) == nullptr)
    throw std::bad_alloc();
}

std::optional<std::string> XmlDocument::documentTypeName() const {
  xmlDtd* dtd = xmlGetIntSubset(doc_);
  if (dtd == nullptr)
    return std::nullopt;
  return text(dtd->name);
}

std::string XmlDocument::XMLData() const {
  std::unique_ptr<xmlBuffer, decltype(&xmlBufferFree)> buffer(xmlBufferCreate(), xmlBufferFree);
  if (!buffer)
    throw std::bad_alloc();
  xmlSaveCtxt* save = xmlSaveToBuffer(buffer.get(), "UTF-8", XML_SAVE_NO_EMPTY | XML_SAVE_AS_XML);
  if (save == nullptr)
    throw std::bad_alloc();
  xmlSaveDoc(save, doc_);
  xmlSaveClose(save);
  return std::string(reinterpret_cast<const char*>(xmlBufferContent(buffer.get())),
                     static_cast<size_t>(xmlBufferLength(buffer.get())));
}

}  // namespace qrl
