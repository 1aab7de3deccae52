#include "xmeml/QRLXmlUtility.h"

#include <algorithm>

#include "platform/process/SystemLog.h"

namespace qrl {

namespace {

std::vector<std::string_view> splitAtOpeningBrackets(std::string_view text) {
  std::vector<std::string_view> pieces;
  size_t start = 0;
  for (;;) {
    size_t at = text.find('<', start);
    if (at == std::string_view::npos) {
      pieces.push_back(text.substr(start));
      return pieces;
    }
    pieces.push_back(text.substr(start, at - start));
    start = at + 1;
  }
}

bool startsWithSlash(std::string_view piece) {
  return !piece.empty() && piece.front() == '/';
}

// The whitespace and line-break characters of the platform's character set
// of that name, as UTF-16 code units.
bool isWhitespaceOrNewline(char16_t c) {
  return c == 0x20 || (c >= 0x09 && c <= 0x0D) || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x3000;
}

// UTF-16 code units of UTF-8 text; a byte that does not start a well-formed
// sequence counts as U+FFFD.
std::u16string utf16Units(std::string_view text) {
  std::u16string out;
  std::string safe = xmlSafeText(text);  // also maps stray bytes to U+FFFD
  for (size_t i = 0; i < safe.size();) {
    auto b = static_cast<unsigned char>(safe[i]);
    size_t len = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
    char32_t cp = len == 1 ? b : len == 2 ? (b & 0x1F) : len == 3 ? (b & 0x0F) : (b & 0x07);
    for (size_t k = 1; k < len; ++k)
      cp = (cp << 6) | (static_cast<unsigned char>(safe[i + k]) & 0x3F);
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
    i += len;
  }
  return out;
}

void appendLowByte(std::string& out, char16_t unit) {
  auto low = static_cast<unsigned char>(unit & 0xFF);
  if (low < 0x80) {
    out.push_back(static_cast<char>(low));
  } else {
    out.push_back(static_cast<char>(0xC0 | (low >> 6)));
    out.push_back(static_cast<char>(0x80 | (low & 0x3F)));
  }
}

}  // namespace

std::unique_ptr<QRLXmlUtility> QRLXmlUtility::xmlUtility() {
  return std::make_unique<QRLXmlUtility>();
}

XmlElement QRLXmlUtility::createElementWithName(std::string_view name,
                                                const archive::Value::Array* withAttributes,
                                                const archive::Value::Array* values,
                                                const std::optional<std::string>& andStringValue) {
  XmlElement element(name);
  if (withAttributes != nullptr && values != nullptr && !withAttributes->empty() &&
      withAttributes->size() == values->size()) {
    for (size_t i = 0; i < withAttributes->size(); ++i) {
      const std::string* key = (*withAttributes)[i].string();
      const std::string* value = (*values)[i].string();
      if (key != nullptr && value != nullptr)
        element.addAttribute(*key, *value);
    }
  }
  if (andStringValue)
    element.setStringValue(*andStringValue);
  return element;
}

std::string QRLXmlUtility::spacedXmlStringForElement(XmlNode element, int32_t withDepth) const {
  std::string compact = element.XMLString();
  std::vector<std::string_view> pieces = splitAtOpeningBrackets(compact);
  const size_t n = pieces.size();
  std::string out;
  out.reserve(compact.size() + compact.size() / 4);

  int64_t depth = withDepth;
  for (size_t i = 0; i + 1 < n; ++i) {
    std::string_view cur = pieces[i];
    std::string_view next = pieces[i + 1];
    if (cur.empty())
      continue;
    bool closing = startsWithSlash(cur);
    bool nextClosing = startsWithSlash(next);
    bool prevClosing = i > 0 && startsWithSlash(pieces[i - 1]);

    if (depth > 0 && (!closing || prevClosing))
      out.append(static_cast<size_t>(depth), '\t');
    out += '<';
    out += cur;
    if (closing || !nextClosing)
      out += '\n';

    if (!closing && !nextClosing)
      ++depth;
    else if (closing && nextClosing)
      --depth;
    depth = std::max<int64_t>(depth, 0);
  }
  // The last tag goes at the depth the caller asked for, not the running one.
  if (withDepth > 0)
    out.append(static_cast<size_t>(withDepth), '\t');
  out += '<';
  out += pieces[n - 1];

  process::SystemLog::write("Look");
  return out;
}

std::string QRLXmlUtility::removeLeadingAndTrailingWhiteSpaceFromString(
    std::string_view text) const {
  std::string result;
  std::u16string pending;
  for (char16_t unit : utf16Units(text)) {
    if (isWhitespaceOrNewline(unit)) {
      pending.push_back(unit);
      continue;
    }
    for (char16_t held : pending)
      appendLowByte(result, held);
    pending.clear();
    appendLowByte(result, unit);
  }
  return result;
}

std::vector<XmlNode> QRLXmlUtility::ancestorsForElement(XmlNode node) const {
  std::vector<XmlNode> out;
  for (XmlNode p = node.parent(); p; p = p.parent())
    out.push_back(p);
  return out;
}

XmlNode QRLXmlUtility::nearestElementWithAttribute(std::string_view attribute,
                                                   XmlNode forElement) const {
  for (XmlNode n = forElement; n; n = n.parent()) {
    if (n.attributeForName(attribute))
      return n;
  }
  return {};
}

void QRLXmlUtility::updateValueForChildWithName(std::string_view name, XmlNode inElement,
                                                std::string_view newValue) {
  if (XmlNode child = childNodeWithName(name, inElement))
    child.setStringValue(newValue);
}

XmlNode QRLXmlUtility::childNodeWithName(std::string_view name, XmlNode fromParent) {
  for (XmlNode child : fromParent.children()) {
    if (child.hasName(name))
      return child;
  }
  return {};
}

std::vector<XmlNode> QRLXmlUtility::allDescendantsForNode(XmlNode node) {
  std::vector<XmlNode> out;
  // Explicit stack: pre-order without recursion, children in order.
  std::vector<XmlNode> stack;
  std::vector<XmlNode> children = node.children();
  stack.assign(children.rbegin(), children.rend());
  while (!stack.empty()) {
    XmlNode n = stack.back();
    stack.pop_back();
    out.push_back(n);
    children = n.children();
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  return out;
}

}  // namespace qrl
