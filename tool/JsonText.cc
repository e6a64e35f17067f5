#include "tool/JsonText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "qorvane/foundation/Base64.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tool/Failure.h"
#include "tool/speech/Columns.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Array;
using qorvane::Data;
using qorvane::Date;
using qorvane::Dictionary;
using qorvane::Number;
using qorvane::Text;
using qorvane::Value;

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Takes the parser's events, so that nothing is held but the values themselves. An event that answers false
// ends the parsing; `failure` says why.
class Builder : public nlohmann::json_sax<nlohmann::json> {
 public:
  const char* failure = nullptr;
  std::size_t position = 0;  // Of a malformed byte, from 1; 0 when the parser did not stop at one.
  Value result;

  bool null() override { return fail(kNull); }
  bool boolean(bool value) override { return add(Number(value)); }
  bool number_integer(number_integer_t value) override { return add(Number(value)); }
  bool number_unsigned(number_unsigned_t value) override { return add(Number(value)); }
  bool number_float(number_float_t value, const string_t&) override { return add(Number(value)); }
  bool string(string_t& value) override { return add(Text(value)); }
  bool binary(binary_t&) override { return fail(kMalformed); }
  bool start_object(std::size_t) override { return open({.isObject = true}); }
  bool start_array(std::size_t) override { return open({.isObject = false}); }
  bool key(string_t& name) override {
    if (++objects_ > limits_.objects) return fail(kTooMany);
    levels_.back().key = Text(name);
    return true;
  }
  bool end_array() override {
    Array all = std::move(levels_.back().array);
    levels_.pop_back();
    return add(std::move(all));
  }
  bool end_object() override {
    Dictionary all = std::move(levels_.back().dictionary);
    const bool isLiteral = levels_.back().isLiteral;
    levels_.pop_back();
    if (!isLiteral && all.size() == 1 && all.begin()->key.view().starts_with('$'))
      return addMarked(all.begin()->key, all.begin()->value);
    return add(std::move(all));
  }
  bool parse_error(std::size_t at, const std::string&, const nlohmann::detail::exception&) override {
    position = at;
    return fail(kMalformed);
  }

 private:
  struct Level {
    bool isObject;
    bool isLiteral = false;  // What a "$dictionary" holds is a dictionary, whatever its names.
    Text key = {};
    Dictionary dictionary = {};
    Array array = {};
  };

  // The texts are looked for in French.def when they are told.
  static constexpr const char* kMalformed = "it is malformed";
  static constexpr const char* kNull = "null is no value of a setting";
  static constexpr const char* kTooDeep = "it is nested too deeply";
  static constexpr const char* kTooMany = "it holds too many values";

  bool fail(const char* why) {
    if (!failure) failure = why;
    return false;
  }

  bool open(Level level) {
    if (levels_.size() >= kDeepest) return fail(kTooDeep);
    level.isLiteral = !levels_.empty() && levels_.back().isObject && levels_.back().key == "$dictionary";
    levels_.push_back(std::move(level));
    return true;
  }

  bool add(Value value) {
    if (++objects_ > limits_.objects) return fail(kTooMany);
    if (levels_.empty())
      result = std::move(value);
    else if (levels_.back().isObject)
      levels_.back().dictionary.set(levels_.back().key, std::move(value));
    else
      levels_.back().array.push_back(std::move(value));
    return true;
  }

  // What stands for a value that JSON has no form for.
  bool addMarked(const Text& mark, const Value& held) {
    const Text* text = held.asText();
    if (mark == "$dictionary" && held.asDictionary()) return add(held);
    if (mark == "$date" && held.asNumber()) return add(Date{held.doubleValue()});
    if (mark == "$real" && text && (*text == "nan" || *text == "inf" || *text == "-inf"))
      return add(Number(*text == "nan" ? NAN : *text == "inf" ? HUGE_VAL : -HUGE_VAL));
    if (mark == "$data" && text) {
      qorvane::Base64Bytes read = qorvane::fromBase64(*text);
      return read.fault == qorvane::Base64Bytes::Fault::None ? add(Data(std::move(read.bytes)))
                                                             : fail("a \"$data\" is no base64");
    }
    return fail("an object whose name begins with \"$\" is no form of a value");
  }

  // As deep as a store takes.
  static constexpr std::size_t kDeepest = 500;

  qorvane::PropertyListLimits limits_;
  std::vector<Level> levels_;
  std::size_t objects_ = 0;
};

// The place of a byte, counted from 1, as a person finds it in an editor.
std::string placeOf(std::string_view text, std::size_t position) {
  const std::string_view before = text.substr(0, std::min(position > 0 ? position - 1 : 0, text.size()));
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const std::size_t start = before.rfind('\n') == before.npos ? 0 : before.rfind('\n') + 1;
  return say("line {}, column {}", std::to_string(line), std::to_string(before.size() - start + 1));
}

// How far the parser had read.
class Counting {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  Counting(const char* at, const char** farthest) : at_(at), farthest_(farthest) {}
  reference operator*() const { return *at_; }
  Counting& operator++() {
    *farthest_ = ++at_;
    return *this;
  }
  Counting operator++(int) {
    const Counting before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const Counting& a, const Counting& b) { return a.at_ == b.at_; }

 private:
  const char* at_;
  const char** farthest_;
};

class Writer {
 public:
  explicit Writer(bool onOneLine) : onOneLine_(onOneLine) {}
  std::string text() && { return std::move(text_); }

  void put(const Value& value, std::size_t depth) {
    if (const Text* text = value.asText()) return putString(text->view());
    if (const Number* number = value.asNumber()) return putNumber(*number);
    if (const Data* data = value.asData()) return putMarked("$data", qorvane::base64(data->view()), depth);
    if (const Date* date = value.asDate()) return putDate(*date, depth);
    if (const Array* array = value.asArray()) {
      Members members(*this, '[', ']', depth);
      for (const Value& element : *array) {
        members.next();
        put(element, depth + 1);
      }
      return;
    }
    const Dictionary& dictionary = *value.asDictionary();
    if (dictionary.size() == 1 && dictionary.begin()->key.view().starts_with('$')) {
      Members marked(*this, '{', '}', depth);
      marked.next("$dictionary");
      return putDictionary(dictionary, depth + 1);
    }
    putDictionary(dictionary, depth);
  }

 private:
  // The brackets of an object or array, and what stands between its members.
  class Members {
   public:
    Members(Writer& writer, char open, char close, std::size_t depth)
        : writer_(writer), close_(close), depth_(depth) {
      writer_.text_ += open;
    }
    ~Members() {
      if (any_) writer_.breakLine(depth_);
      writer_.text_ += close_;
    }
    Members(const Members&) = delete;
    Members& operator=(const Members&) = delete;

    void next() {
      if (std::exchange(any_, true)) writer_.text_ += ',';
      writer_.breakLine(depth_ + 1);
    }
    void next(std::string_view name) {
      next();
      writer_.putString(name);
      writer_.text_ += writer_.onOneLine_ ? ":" : ": ";
    }

   private:
    Writer& writer_;
    char close_;
    std::size_t depth_;
    bool any_ = false;
  };

  void breakLine(std::size_t depth) {
    if (!onOneLine_) text_.append("\n").append(2 * depth, ' ');
  }

  void putString(std::string_view string) {
    text_ += withoutControls(
        nlohmann::json(string).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  }

  void putDictionary(const Dictionary& dictionary, std::size_t depth) {
    Members members(*this, '{', '}', depth);
    for (const auto& [key, held] : dictionary) {
      members.next(key);
      put(held, depth + 1);
    }
  }

  void putMarked(std::string_view mark, std::string_view string, std::size_t depth) {
    Members members(*this, '{', '}', depth);
    members.next(mark);
    putString(string);
  }

  void putNumber(const Number& number) {
    if (number.kind() == Number::Kind::Boolean)
      text_ += number.boolValue() ? "true" : "false";
    else if (number.kind() == Number::Kind::Integer)
      text_ += std::to_string(number.int64Value());
    else if (number.kind() == Number::Kind::Unsigned)
      text_ += std::to_string(number.bits());
    else if (std::isfinite(number.doubleValue()))
      text_ += nlohmann::json(number.doubleValue()).dump();
    else
      text_.append(onOneLine_ ? "{\"$real\":\"" : "{\"$real\": \"")
          .append(number.stringValue().view())
          .append("\"}");
  }

  void putDate(const Date& date, std::size_t depth) {
    Members members(*this, '{', '}', depth);
    members.next("$date");
    putNumber(Number(date.secondsSince2001));
  }

  std::string text_;
  bool onOneLine_;
};

}  // namespace

Value valueFromJson(std::string_view text) {
  std::string_view json = text;
  if (json.starts_with(kByteOrderMark)) json.remove_prefix(kByteOrderMark.size());
  Builder builder;
  const char* farthest = json.data();
  const char* const end = json.data() + json.size();
  if (nlohmann::json::sax_parse(Counting(json.data(), &farthest), Counting(end, &farthest), &builder))
    return builder.result;
  const std::size_t position =
      builder.position > 0 ? builder.position : static_cast<std::size_t>(farthest - json.data());
  throw Failure(Exit::BadData, say("{} ({})", translated(builder.failure), placeOf(json, position)));
}

std::string jsonFromValue(const Value& value) {
  Writer writer(false);
  writer.put(value, 0);
  return std::move(writer).text() + "\n";
}

std::string jsonLineFromValue(const Value& value) {
  Writer writer(true);
  writer.put(value, 0);
  return std::move(writer).text();
}

std::string withoutControls(std::string_view json) {
  std::string safe;
  safe.reserve(json.size());
  while (!json.empty()) {
    const Character character = takeFirst(json);
    if (!steersTerminal(character) || character.bytes == "\n") {
      safe += character.bytes;
      continue;
    }
    std::array<char, 8> escape;
    std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(character.code) & 0xFFFF);
    safe += escape.data();
  }
  return safe;
}

}  // namespace optionsmgr
