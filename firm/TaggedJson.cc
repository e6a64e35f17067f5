#include "firm/TaggedJson.h"

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Failure.h"
#include "tool/Failure.h"
#include "tool/JsonText.h"

namespace optionsmgr::firm {

using qorvane::Array;
using qorvane::Dictionary;
using qorvane::Number;
using qorvane::Value;

namespace {

// A truth has two stored forms, and neither is JSON's own.
Value withoutTruths(const Value& value) {
  if (value.isNil()) throw qorvane::Exception({qorvane::FailureCode::valueNil});
  if (const Number* number = value.asNumber(); number && number->kind() == Number::Kind::Boolean)
    return Number(number->boolValue() ? 1 : 0);
  if (const Array* array = value.asArray()) {
    Array all;
    for (const Value& element : *array) all.push_back(withoutTruths(element));
    return all;
  }
  if (const Dictionary* dictionary = value.asDictionary()) {
    Dictionary all;
    for (const auto& [key, held] : *dictionary) all.set(key, withoutTruths(held));
    return all;
  }
  return value;
}

}  // namespace

std::string jsonOf(const Value& value) { return jsonLineFromValue(withoutTruths(value)); }

std::optional<Value> valueOf(std::string_view json) try {
  return valueFromJson(json);
} catch (const Failure&) {
  return std::nullopt;
}

}  // namespace optionsmgr::firm
