#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <string>

#include "qorvane/foundation/Base64.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyListParts.h"

namespace qorvane::inline v1::detail {

namespace {

constexpr std::string_view kProlog =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

class XmlWriter {
 public:
  std::string write(const Value& value) {
    out_.reserve(16384);
    out_ += kProlog;
    put(value, 0, nullptr);
    out_ += "</plist>\n";
    return std::move(out_);
  }

 private:
  /// `depth` is the number of containers around the value, and of tabs before it.
  void put(const Value& value, std::size_t depth, const KeyPath* path) {
    budget_.countObject(path);
    budget_.checkSize(out_.size());
    indent(depth);
    switch (value.kind()) {
      case Value::Kind::Nil:
        budget_.fail(path, FailureCode::valueNil);
      case Value::Kind::Text:
        return putElement("string", *value.asText(), path);
      case Value::Kind::Number:
        return putNumber(*value.asNumber());
      case Value::Kind::Data:
        return putData(value.asData()->view(), depth);
      case Value::Kind::Date:
        return putDate(*value.asDate(), path);
      case Value::Kind::Array: {
        budget_.checkDepth(depth + 1, path);
        const Array& array = *value.asArray();
        if (array.empty()) {
          out_ += "<array/>\n";
          return;
        }
        out_ += "<array>\n";
        KeyPath step{.outer = path};
        for (const Value& element : array) {
          put(element, depth + 1, &step);
          ++step.index;
        }
        indent(depth);
        out_ += "</array>\n";
        return;
      }
      case Value::Kind::Dictionary:
        break;
    }
    budget_.checkDepth(depth + 1, path);
    const Dictionary& dictionary = *value.asDictionary();
    if (dictionary.empty()) {
      out_ += "<dict/>\n";
      return;
    }
    out_ += "<dict>\n";
    KeyPath step{.outer = path};
    for (const Dictionary::Entry& entry : dictionary) {
      step.key = &entry.key;
      budget_.countObject(&step);
      indent(depth + 1);
      putElement("key", entry.key, &step);
      put(entry.value, depth + 1, &step);
    }
    indent(depth);
    out_ += "</dict>\n";
  }

  void indent(std::size_t depth) { out_.append(depth, '\t'); }

  void putElement(std::string_view name, std::string_view text, const KeyPath* path) {
    out_ += '<';
    out_ += name;
    out_ += '>';
    putText(text, path);
    out_ += "</";
    out_ += name;
    out_ += ">\n";
  }

  void putText(std::string_view text, const KeyPath* path) {
    budget_.checkSize(out_.size() + text.size());
    for (std::size_t at = 0;; ++at) {
      const std::size_t plain = at;
      while (at < text.size() && !kSpecial[static_cast<unsigned char>(text[at])]) ++at;
      out_ += text.substr(plain, at - plain);
      if (at == text.size()) return;
      switch (text[at]) {
        case '&':
          out_ += "&amp;";
          break;
        case '<':
          out_ += "&lt;";
          break;
        case '>':
          out_ += "&gt;";
          break;
        case '\r':
          // Written as it is, it would be read as a line feed.
          out_ += "&#13;";
          break;
        case '\xEF':
          if (text.substr(at, 3) == "\xEF\xBF\xBE" || text.substr(at, 3) == "\xEF\xBF\xBF")
            budget_.fail(path, FailureCode::xmlCannotHoldNoncharacter);
          out_ += text[at];
          break;
        default:
          budget_.fail(path, FailureCode::xmlCannotHoldControl);
      }
    }
  }

  /// The bytes that do not simply stand for themselves.
  static constexpr std::array<bool, 256> kSpecial = [] {
    std::array<bool, 256> table{};
    for (std::size_t control = 0; control < 0x20; ++control)
      table[control] = control != '\t' && control != '\n';
    for (const char byte : {'&', '<', '>', '\xEF'}) table[static_cast<unsigned char>(byte)] = true;
    return table;
  }();

  void putNumber(const Number& number) {
    switch (number.kind()) {
      case Number::Kind::Boolean:
        out_ += number.boolValue() ? "<true/>\n" : "<false/>\n";
        return;
      case Number::Kind::Integer:
        return putDigits("integer", static_cast<std::int64_t>(number.bits()));
      case Number::Kind::Unsigned:
        return putDigits("integer", number.bits());
      case Number::Kind::Real:
        break;
    }
    const double real = number.doubleValue();
    if (std::isnan(real))
      out_ += "<real>nan</real>\n";
    else if (std::isinf(real))
      out_ += real > 0 ? "<real>+infinity</real>\n" : "<real>-infinity</real>\n";
    else
      putDigits("real", real);
  }

  template <class T>
  void putDigits(std::string_view name, T number) {
    std::array<char, 32> digits;
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    putElement(name, {digits.data(), static_cast<std::size_t>(end - digits.data())}, nullptr);
  }

  void putData(std::string_view bytes, std::size_t depth) {
    // Lines of 57 bytes are lines of 76 characters.
    constexpr std::size_t kLine = 57;
    budget_.checkSize(out_.size() + bytes.size());
    out_ += "<data>\n";
    for (std::size_t at = 0; at < bytes.size(); at += kLine) {
      budget_.checkSize(out_.size());
      indent(depth);
      out_ += base64(bytes.substr(at, kLine));
      out_ += '\n';
    }
    indent(depth);
    out_ += "</data>\n";
  }

  void putDate(const Date& date, const KeyPath* path) {
    using namespace std::chrono;
    constexpr sys_seconds kReference = sys_days(days(kReferenceDay));
    constexpr seconds kFirst = sys_seconds(sys_days(year(1) / January / 1)) - kReference;
    constexpr seconds kEnd = sys_seconds(sys_days(year(10000) / January / 1)) - kReference;
    const double whole = std::floor(date.secondsSince2001);
    // Written so that a NaN is refused too.
    if (!(whole >= static_cast<double>(kFirst.count()) && whole < static_cast<double>(kEnd.count())))
      budget_.fail(path, FailureCode::xmlCannotHoldDate);
    const sys_seconds moment = kReference + seconds(static_cast<std::int64_t>(whole));
    const auto day = floor<days>(moment);
    const year_month_day calendar(day);
    const hh_mm_ss clock(moment - day);
    std::string text = "0000-00-00T00:00:00Z";
    const auto put = [&](std::size_t end, auto number) {
      for (auto left = static_cast<std::uint64_t>(number); left > 0; left /= 10)
        text[--end] = static_cast<char>('0' + left % 10);
    };
    put(4, static_cast<int>(calendar.year()));
    put(7, static_cast<unsigned>(calendar.month()));
    put(10, static_cast<unsigned>(calendar.day()));
    put(13, clock.hours().count());
    put(16, clock.minutes().count());
    put(19, clock.seconds().count());
    putElement("date", text, path);
  }

  WriterBudget budget_;
  std::string out_;
};

}  // namespace

std::string writeXml(const Value& value) { return XmlWriter().write(value); }

}  // namespace qorvane::detail
