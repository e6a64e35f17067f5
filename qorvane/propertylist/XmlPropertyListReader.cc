#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "qorvane/foundation/Base64.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyListParts.h"
#include "qorvane/propertylist/Utf16.h"

namespace qorvane::inline v1::detail {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lower) {
  return std::ranges::equal(text, lower, {}, [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
}

/// Takes a sign from the front; true for a minus.
bool takeSign(std::string_view& text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  return negative;
}

/// The characters that a document may hold, in itself or by reference.
bool isXmlCharacter(std::uint32_t c) {
  return c >= 0x20 ? c <= 0xD7FF || (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF)
                   : c == '\t' || c == '\n' || c == '\r';
}

class XmlReader {
 public:
  XmlReader(std::string_view text, bool wasUtf16, const PropertyListLimits& limits)
      : text_(text), wasUtf16_(wasUtf16), limits_(limits) {}

  Value read() {
    checkCharacters();
    readProlog();
    const Tag root = readTag();
    if (root.closing || root.name != "plist") fail(root.at, {FailureCode::xmlNoPlist});
    if (root.empty) fail(root.at, {FailureCode::xmlNoValue});
    Tag tag = nextTag(root);
    if (tag.closing) fail(root.at, {FailureCode::xmlNoValue});
    Value value = readValue(tag, 0);
    tag = nextTag(root);
    if (!tag.closing) fail(tag.at, {FailureCode::xmlSecondValue});
    close(tag, root);
    skipMisc();
    if (at_ != text_.size()) fail(at_, {FailureCode::xmlAfterEnd});
    return value;
  }

 private:
  struct Tag {
    /// Where its '<' stands.
    std::size_t at;
    std::string_view name;
    /// </name>
    bool closing = false;
    /// <name/>
    bool empty = false;
  };

  [[noreturn]] void fail(std::size_t at, Failure why) const {
    const std::string_view before = text_.substr(0, at);
    const auto line = 1 + std::ranges::count(before, '\n');
    const std::string_view inLine = before.substr(before.rfind('\n') + 1);
    const auto column = 1 + std::ranges::count_if(inLine, [](char c) { return (c & 0xC0) != 0x80; });
    throw Exception(
        {FailureCode::xmlBad, {std::to_string(line), std::to_string(column)}, 0, {std::move(why)}});
  }

  /// The tag as messages show it. Of a damaged file, what stands in the place of a name may be a piece of a
  /// value, and a password does not belong in a log: only names that mean something are shown.
  static std::string inTag(std::string_view name, std::string_view begin = "<") {
    constexpr std::string_view kNames[] = {"plist", "dict", "array",   "key",  "string", "data",
                                           "date",  "real", "integer", "true", "false"};
    const bool known = std::ranges::find(kNames, name) != std::end(kNames);
    return std::string(begin) + (known ? std::string(name) : "…") + ">";
  }

  void checkCharacters() const {
    for (std::size_t at = 0; at < text_.size();) {
      const auto byte = static_cast<unsigned char>(text_[at]);
      if (byte < 0x80) {
        if (!isXmlCharacter(byte)) fail(at, {FailureCode::xmlControl});
        ++at;
        continue;
      }
      const std::size_t length = utf8SequenceLength(text_, at);
      if (length == 0) fail(at, {FailureCode::xmlNotUtf8});
      if (length == 3 && byte == 0xEF &&
          (text_.substr(at, 3) == "\xEF\xBF\xBE" || text_.substr(at, 3) == "\xEF\xBF\xBF"))
        fail(at, {FailureCode::xmlForbidden});
      at += length;
    }
  }

  // ---- outside elements --------------------------------------------------------------------------

  bool startsWith(std::string_view what) const { return text_.substr(at_).starts_with(what); }

  void skipBlanks() {
    while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
  }

  /// Moves past the next occurrence of `end`; what began at `start` must have one, or else fails so.
  std::string_view skipPast(std::string_view end, std::size_t start, FailureCode without) {
    const std::size_t found = text_.find(end, at_);
    if (found == text_.npos) fail(start, {without});
    const std::string_view skipped = text_.substr(at_, found - at_);
    at_ = found + end.size();
    return skipped;
  }

  /// Skips a comment or processing instruction, if one begins here.
  bool skipCommentOrInstruction() {
    const std::size_t start = at_;
    if (startsWith("<!--")) {
      at_ += 4;
      skipPast("-->", start, FailureCode::xmlCommentOpen);
      return true;
    }
    if (startsWith("<?")) {
      at_ += 2;
      skipPast("?>", start, FailureCode::xmlInstructionOpen);
      return true;
    }
    return false;
  }

  /// Skips what may stand between elements and says nothing.
  void skipMisc() {
    do skipBlanks();
    while (skipCommentOrInstruction());
  }

  void readProlog() {
    if (startsWith("<?xml") && text_.size() > 5 && isBlank(text_[5])) {
      at_ = 5;
      checkEncoding(skipPast("?>", 0, FailureCode::xmlDeclarationOpen));
    }
    skipMisc();
    if (startsWith("<!DOCTYPE")) {
      skipDoctype();
      skipMisc();
    }
  }

  void checkEncoding(std::string_view declaration) const {
    const std::size_t name = declaration.find("encoding");
    if (name == declaration.npos) return;
    const std::size_t quote = declaration.find_first_of("\"'", name);
    const std::size_t end =
        quote == declaration.npos ? quote : declaration.find(declaration[quote], quote + 1);
    if (end == declaration.npos) fail(0, {FailureCode::xmlEncodingMissing});
    const std::string_view encoding = declaration.substr(quote + 1, end - quote - 1);
    const auto is = [&](std::string_view lower) { return equalsIgnoringCase(encoding, lower); };
    if (wasUtf16_ ? is("utf-16") || is("utf-16le") || is("utf-16be")
                  : is("utf-8") || is("us-ascii") || is("ascii"))
      return;
    fail(0, {FailureCode::xmlEncodingUnknown});
  }

  void skipDoctype() {
    const std::size_t start = at_;
    at_ += std::string_view("<!DOCTYPE").size();
    for (;;) {
      const std::size_t found = text_.find_first_of("\"'[<>", at_);
      if (found == text_.npos) fail(start, {FailureCode::xmlDoctypeOpen});
      at_ = found + 1;
      switch (text_[found]) {
        case '>':
          return;
        case '[':
        case '<':
          fail(found, {FailureCode::xmlDoctypeDeclarations});
        default:
          skipPast(text_.substr(found, 1), found, FailureCode::xmlQuotationOpen);
      }
    }
  }

  // ---- tags ----------------------------------------------------------------------------------------

  /// The next tag of an element's content, where nothing but tags may stand.
  Tag nextTag(const Tag& inside) {
    skipMisc();
    if (at_ == text_.size()) fail(inside.at, {FailureCode::xmlElementOpen, {inTag(inside.name)}});
    if (text_[at_] != '<') fail(at_, {FailureCode::xmlTextBetween, {inTag(inside.name)}});
    return readTag();
  }

  Tag readTag() {
    Tag tag{.at = at_, .name = {}};
    if (at_ == text_.size() || text_[at_] != '<') fail(at_, {FailureCode::xmlNoElement});
    ++at_;
    if (startsWith("/")) {
      tag.closing = true;
      ++at_;
    }
    const std::size_t name = at_;
    while (at_ < text_.size() && isNameCharacter(text_[at_])) ++at_;
    tag.name = text_.substr(name, at_ - name);
    if (tag.name.empty()) fail(tag.at, {FailureCode::xmlNoTag});
    for (;;) {
      const std::size_t before = at_;
      skipBlanks();
      if (at_ == text_.size()) fail(tag.at, {FailureCode::xmlTagOpen});
      if (text_[at_] == '>') {
        ++at_;
        return tag;
      }
      if (!tag.closing && startsWith("/>")) {
        at_ += 2;
        tag.empty = true;
        return tag;
      }
      if (tag.closing || before == at_) fail(at_, {FailureCode::xmlTagCharacter});
      skipAttribute();
    }
  }

  static bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == ':' || c == '-' || c == '.' || static_cast<unsigned char>(c) >= 0x80;
  }

  /// Attributes mean nothing here: the version of <plist> has only ever been 1.0.
  void skipAttribute() {
    const std::size_t start = at_;
    while (at_ < text_.size() && isNameCharacter(text_[at_])) ++at_;
    if (at_ == start) fail(at_, {FailureCode::xmlTagCharacter});
    skipBlanks();
    if (!startsWith("=")) fail(start, {FailureCode::xmlAttributeNoValue});
    ++at_;
    skipBlanks();
    if (!startsWith("\"") && !startsWith("'")) fail(start, {FailureCode::xmlAttributeNotQuoted});
    const std::string_view quote = text_.substr(at_++, 1);
    if (skipPast(quote, start, FailureCode::xmlAttributeOpen).find('<') != text_.npos)
      fail(start, {FailureCode::xmlAttributeTag});
  }

  void close(const Tag& closing, const Tag& opening) const {
    if (closing.name != opening.name)
      fail(closing.at, {FailureCode::xmlWrongEnd, {inTag(closing.name, "</"), inTag(opening.name)}});
  }

  // ---- values --------------------------------------------------------------------------------------

  Value readValue(const Tag& tag, std::size_t depth) {
    countObject(tag);
    const std::string_view name = tag.name;
    if (name == "string") return Text(content(tag));
    if (name == "dict") return readDictionary(tag, depth);
    if (name == "array") return readArray(tag, depth);
    if (name == "integer") return readInteger(tag, trimmed(content(tag)));
    if (name == "true" || name == "false") {
      const bool truth = name == "true";
      if (!trimmed(content(tag)).empty()) fail(tag.at, {FailureCode::xmlNotEmpty, {inTag(name)}});
      return Number(truth);
    }
    if (name == "real") return readReal(tag, trimmed(content(tag)));
    if (name == "data") return readData(tag, content(tag));
    if (name == "date") return readDate(tag, trimmed(content(tag)));
    if (name == "key") fail(tag.at, {FailureCode::xmlKeyForValue});
    fail(tag.at, {FailureCode::xmlUnknownElement, {inTag(name)}});
  }

  void countObject(const Tag& tag) {
    if (++objects_ > limits_.objects) fail(tag.at, {FailureCode::plistTooMany});
  }

  Value readArray(const Tag& opening, std::size_t depth) {
    if (depth >= limits_.depth) fail(opening.at, {FailureCode::plistTooDeep});
    Array array;
    if (!opening.empty) {
      for (;;) {
        const Tag tag = nextTag(opening);
        if (tag.closing) {
          close(tag, opening);
          break;
        }
        array.push_back(readValue(tag, depth + 1));
      }
    }
    return array;
  }

  Value readDictionary(const Tag& opening, std::size_t depth) {
    if (depth >= limits_.depth) fail(opening.at, {FailureCode::plistTooDeep});
    Dictionary dictionary;
    if (!opening.empty) {
      for (;;) {
        const Tag keyTag = nextTag(opening);
        if (keyTag.closing) {
          close(keyTag, opening);
          break;
        }
        if (keyTag.name != "key") fail(keyTag.at, {FailureCode::xmlKeyExpected, {inTag(keyTag.name)}});
        countObject(keyTag);
        const Text key(content(keyTag));
        const Tag tag = nextTag(opening);
        if (tag.closing) fail(keyTag.at, {FailureCode::xmlKeyNoValue});
        dictionary.set(key, readValue(tag, depth + 1));
      }
    }
    return dictionary;
  }

  /// The characters of an element that holds no others; moves past its end. Valid until the next call.
  std::string_view content(const Tag& opening) {
    if (opening.empty) return {};
    bool buffered = false;
    for (;;) {
      const std::size_t found = text_.find('<', at_);
      if (found == text_.npos) fail(opening.at, {FailureCode::xmlElementOpen, {inTag(opening.name)}});
      const std::string_view run = text_.substr(at_, found - at_);
      const bool plain = run.find('&') == run.npos && run.find('\r') == run.npos;
      const bool last = text_.substr(found).starts_with("</");
      if (!buffered && plain && last) {
        endContent(found, opening);
        return run;
      }
      if (!buffered) buffer_.clear();
      buffered = true;
      if (plain)
        buffer_ += run;
      else
        appendRun(run);
      if (last) {
        endContent(found, opening);
        return buffer_;
      }
      at_ = found;
      constexpr std::string_view kCdata = "<![CDATA[";
      if (startsWith(kCdata)) {
        at_ += kCdata.size();
        appendLines(skipPast("]]>", found, FailureCode::xmlSectionOpen));
      } else if (!skipCommentOrInstruction()) {
        fail(found, {FailureCode::xmlTagInText, {inTag(opening.name)}});
      }
    }
  }

  void endContent(std::size_t at, const Tag& opening) {
    at_ = at;
    close(readTag(), opening);
  }

  /// Appends the characters, with the line ends of other systems as line feeds.
  void appendLines(std::string_view text) {
    for (;;) {
      const std::size_t end = text.find('\r');
      buffer_ += text.substr(0, end);
      if (end == text.npos) return;
      buffer_ += '\n';
      text.remove_prefix(end + 1);
      if (text.starts_with('\n')) text.remove_prefix(1);
    }
  }

  /// Appends the characters of a part of text_, with their references resolved.
  void appendRun(std::string_view run) {
    for (;;) {
      const std::size_t reference = run.find('&');
      appendLines(run.substr(0, reference));
      if (reference == run.npos) return;
      run.remove_prefix(reference);
      const auto at = static_cast<std::size_t>(run.data() - text_.data());
      const std::size_t end = run.find(';');
      if (end == run.npos) fail(at, {FailureCode::xmlNoReference});
      appendReference(at, run.substr(1, end - 1));
      run.remove_prefix(end + 1);
    }
  }

  void appendReference(std::size_t at, std::string_view name) {
    struct Entity {
      std::string_view name;
      char character;
    };
    constexpr std::array<Entity, 5> kEntities{
        {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};
    for (const Entity& entity : kEntities) {
      if (entity.name == name) {
        buffer_ += entity.character;
        return;
      }
    }
    if (!name.starts_with('#')) fail(at, {FailureCode::xmlEntity});
    name.remove_prefix(1);
    const bool hexadecimal = name.starts_with('x');
    if (hexadecimal) name.remove_prefix(1);
    std::uint32_t character = 0;
    const auto [end, error] =
        std::from_chars(name.data(), name.data() + name.size(), character, hexadecimal ? 16 : 10);
    if (name.empty() || error != std::errc() || end != name.data() + name.size() ||
        !isXmlCharacter(character))
      fail(at, {FailureCode::xmlNoCharacter});
    std::array<char, 4> utf8;
    buffer_.append(utf8.data(), static_cast<std::size_t>(putUtf8(utf8.data(), character) - utf8.data()));
  }

  Number readInteger(const Tag& tag, std::string_view text) const {
    const bool negative = takeSign(text);
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
      base = 16;
      text.remove_prefix(2);
    }
    std::uint64_t magnitude = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
    constexpr std::uint64_t kLowest = std::uint64_t{1} << 63;
    if (error == std::errc::result_out_of_range || (negative && error == std::errc() && magnitude > kLowest))
      fail(tag.at, {FailureCode::integerTooLarge});
    if (error != std::errc() || end != text.data() + text.size()) fail(tag.at, {FailureCode::xmlNoInteger});
    if (negative) return Number(static_cast<std::int64_t>(0 - magnitude));
    return Number(magnitude);
  }

  Number readReal(const Tag& tag, std::string_view text) const {
    const std::string_view whole = text;
    const bool negative = takeSign(text);
    double real = 0;
    if (equalsIgnoringCase(text, "nan")) {
      real = std::numeric_limits<double>::quiet_NaN();
    } else if (equalsIgnoringCase(text, "inf") || equalsIgnoringCase(text, "infinity")) {
      real = std::numeric_limits<double>::infinity();
    } else {
      const bool digitFirst =
          !text.empty() && ((text[0] >= '0' && text[0] <= '9') || (text[0] == '.' && text.size() > 1));
      const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), real);
      if (!digitFirst || error == std::errc::invalid_argument || end != text.data() + text.size())
        fail(tag.at, {FailureCode::xmlNoReal});
      if (error == std::errc::result_out_of_range) return Number(Text(whole).doubleValue());
    }
    return Number(negative ? -real : real);
  }

  Data readData(const Tag& tag, std::string_view text) const {
    Base64Bytes read = fromBase64(text);
    if (read.fault == Base64Bytes::Fault::Character) fail(tag.at, {FailureCode::xmlNoBase64});
    if (read.fault == Base64Bytes::Fault::Group) fail(tag.at, {FailureCode::xmlBase64CutShort});
    return Data(std::move(read.bytes));
  }

  Date readDate(const Tag& tag, std::string_view text) const {
    using namespace std::chrono;
    constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    const bool formed = text.size() == kForm.size() && std::ranges::equal(text, kForm, [](char c, char form) {
                          return form == '0' ? c >= '0' && c <= '9' : c == form;
                        });
    if (!formed) fail(tag.at, {FailureCode::xmlDateForm, {kForm}});
    const auto number = [&](std::size_t at, std::size_t digits) {
      int result = 0;
      for (const char c : text.substr(at, digits)) result = result * 10 + (c - '0');
      return result;
    };
    const year_month_day calendar{year(number(0, 4)), month(static_cast<unsigned>(number(5, 2))),
                                  day(static_cast<unsigned>(number(8, 2)))};
    if (!calendar.ok() || number(0, 4) == 0 || number(11, 2) > 23 || number(14, 2) > 59 || number(17, 2) > 59)
      fail(tag.at, {FailureCode::xmlNoDate});
    const auto moment = sys_days(calendar) - sys_days(days(kReferenceDay)) + hours(number(11, 2)) +
                        minutes(number(14, 2)) + seconds(number(17, 2));
    return Date{static_cast<double>(moment.count())};
  }

  const std::string_view text_;
  const bool wasUtf16_;
  const PropertyListLimits limits_;
  std::size_t at_ = 0;
  std::size_t objects_ = 0;
  std::string buffer_;
};

}  // namespace

Value readXml(std::string_view bytes, const PropertyListLimits& limits) {
  const bool bigEndian = bytes.starts_with("\xFE\xFF");
  if (bigEndian || bytes.starts_with("\xFF\xFE")) {
    bytes.remove_prefix(2);
    if (bytes.size() % 2 != 0) throw Exception({FailureCode::xmlHalfUnit});
    std::string utf8(bytes.size() / 2 * 3, '\0');
    utf8.resize(static_cast<std::size_t>(putUtf16AsUtf8(utf8.data(), bytes, bigEndian) - utf8.data()));
    return XmlReader(utf8, true, limits).read();
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  return XmlReader(bytes, false, limits).read();
}

}  // namespace qorvane::detail
