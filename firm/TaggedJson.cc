#include "firm/TaggedJson.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Failure.h"

namespace optionsmgr::firm {

using Json = nlohmann::ordered_json;
using qorvane::Array;
using qorvane::Data;
using qorvane::Date;
using qorvane::Dictionary;
using qorvane::Number;
using qorvane::Text;
using qorvane::Value;

namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int kDeepest = 500;

std::string base64(std::string_view bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0);
    for (std::size_t i = 0; i < 4; ++i)
      text += at + i <= bytes.size() ? kDigits[group >> (18 - 6 * i) & 63] : '=';
  }
  return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  std::string bytes;
  unsigned group = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t digit = at < text.size() - padding ? kDigits.find(text[at]) : 0;
    if (digit == kDigits.npos) return std::nullopt;
    group = group << 6 | static_cast<unsigned>(digit);
    if (at % 4 != 3) continue;
    for (int shift = 16; shift >= 0; shift -= 8) bytes += static_cast<char>(group >> shift & 255);
    group = 0;
  }
  bytes.resize(bytes.size() - padding);
  return bytes;
}

Json jsonAt(const Value& value) {
  if (const Text* text = value.asText()) return text->string();
  if (const Data* data = value.asData()) return {{"$data", base64(data->view())}};
  if (const Date* date = value.asDate()) return {{"$date", date->secondsSince2001}};
  if (const Number* number = value.asNumber()) switch (number->kind()) {
      case Number::Kind::Boolean:
        return number->boolValue() ? 1 : 0;
      case Number::Kind::Integer:
        return number->int64Value();
      case Number::Kind::Unsigned:
        return number->bits();
      case Number::Kind::Real:
        if (std::isfinite(number->doubleValue())) return number->doubleValue();
        return {{"$real", number->stringValue().string()}};
    }
  if (const Array* array = value.asArray()) {
    Json all = Json::array();
    for (const Value& element : *array) all.push_back(jsonAt(element));
    return all;
  }
  if (!value.asDictionary()) throw qorvane::Exception({qorvane::FailureCode::valueNil});
  Json all = Json::object();
  for (const auto& [key, held] : *value.asDictionary()) all[key.string()] = jsonAt(held);
  if (all.size() == 1 && all.begin().key().starts_with('$')) return {{"$dictionary", all}};
  return all;
}

std::optional<Value> valueAt(const Json& json, int depth);

std::optional<Value> dictionaryAt(const Json& json, int depth) {
  Dictionary dictionary;
  for (const auto& [key, element] : json.items()) {
    auto value = valueAt(element, depth + 1);
    if (!value) return std::nullopt;
    dictionary.set(Text(key), *std::move(value));
  }
  return dictionary;
}

std::optional<Value> taggedAt(const std::string& tag, const Json& held, int depth) {
  if (tag == "$data" && held.is_string()) {
    const auto bytes = fromBase64(held.get_ref<const std::string&>());
    if (bytes) return Data(*bytes);
  }
  if (tag == "$date" && held.is_number()) return Date{held.get<double>()};
  if (tag == "$real" && held == "nan") return Number(std::nan(""));
  if (tag == "$real" && held == "inf") return Number(HUGE_VAL);
  if (tag == "$real" && held == "-inf") return Number(-HUGE_VAL);
  if (tag == "$dictionary" && held.is_object()) return dictionaryAt(held, depth);
  return std::nullopt;
}

std::optional<Value> valueAt(const Json& json, int depth) {
  if (depth > kDeepest) return std::nullopt;
  switch (json.type()) {
    case Json::value_t::string:
      return Text(json.get_ref<const std::string&>());
    case Json::value_t::number_integer:
      return Number(json.get<std::int64_t>());
    case Json::value_t::number_unsigned:
      return Number(json.get<std::uint64_t>());
    case Json::value_t::number_float:
      return Number(json.get<double>());
    case Json::value_t::array: {
      Array array;
      for (const Json& element : json) {
        auto value = valueAt(element, depth + 1);
        if (!value) return std::nullopt;
        array.push_back(*std::move(value));
      }
      return array;
    }
    case Json::value_t::object:
      if (json.size() == 1 && json.begin().key().starts_with('$'))
        return taggedAt(json.begin().key(), *json.begin(), depth);
      return dictionaryAt(json, depth);
    default:
      return std::nullopt;
  }
}

}  // namespace

std::string jsonOf(const Value& value) { return jsonAt(value).dump(); }

std::optional<Value> valueOf(std::string_view json) {
  const Json parsed = Json::parse(json, nullptr, false);
  if (parsed.is_discarded()) return std::nullopt;
  return valueAt(parsed, 1);
}

}  // namespace optionsmgr::firm
