#include "tool/PreferenceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tool/Failure.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Array;
using qorvane::Data;
using qorvane::Date;
using qorvane::Dictionary;
using qorvane::Number;
using qorvane::PropertyListFormat;
using qorvane::Text;
using qorvane::Value;
using Json = nlohmann::ordered_json;

namespace {

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
// As deep as a store takes.
constexpr int kDeepest = 500;

std::string base64(std::string_view bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0);
    for (std::size_t i = 0; i < 4; ++i)
      text += at + i <= bytes.size() ? kBase64[group >> (18 - 6 * i) & 63] : '=';
  }
  return text;
}

Data fromBase64(std::string_view text) {
  const auto refuse = [] { throw Failure(Exit::BadData, say("a \"$data\" is no base64")); };
  if (text.size() % 4 != 0) refuse();
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); at += 4) {
    unsigned group = 0;
    std::size_t digits = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const std::size_t digit = kBase64.find(text[at + i]);
      if (digit == kBase64.npos) {
        // Padding: one or two at the very end.
        if (text[at + i] != '=' || at + 4 != text.size() || i < 2 || text[text.size() - 1] != '=') refuse();
        group <<= 6;
        continue;
      }
      if (digits != i) refuse();
      ++digits;
      group = group << 6 | static_cast<unsigned>(digit);
    }
    for (std::size_t i = 0; i + 1 < digits; ++i) bytes += static_cast<char>(group >> (16 - 8 * i) & 255);
  }
  return Data(bytes);
}

Value valueAt(const Json& json, int depth) {
  if (depth > kDeepest) throw Failure(Exit::BadData, say("it is nested too deeply"));
  switch (json.type()) {
    case Json::value_t::string:
      return Text(json.get_ref<const std::string&>());
    case Json::value_t::boolean:
      return Number(json.get<bool>());
    case Json::value_t::number_integer:
      return Number(json.get<std::int64_t>());
    case Json::value_t::number_unsigned:
      return Number(json.get<std::uint64_t>());
    case Json::value_t::number_float:
      return Number(json.get<double>());
    case Json::value_t::array: {
      Array array;
      for (const Json& element : json) array.push_back(valueAt(element, depth + 1));
      return array;
    }
    case Json::value_t::object: {
      const Json* object = &json;
      if (json.size() == 1 && json.begin().key().starts_with('$')) {
        const std::string& form = json.begin().key();
        const Json& held = *json.begin();
        if (form == "$data" && held.is_string()) return fromBase64(held.get_ref<const std::string&>());
        if (form == "$date" && held.is_number()) return Date{held.get<double>()};
        if (form == "$real" && held == "nan") return Number(std::nan(""));
        if (form == "$real" && held == "inf") return Number(HUGE_VAL);
        if (form == "$real" && held == "-inf") return Number(-HUGE_VAL);
        if (form != "$dictionary" || !held.is_object())
          throw Failure(Exit::BadData, say("\"{}\" is no form of a value", form));
        object = &held;
      }
      Dictionary dictionary;
      for (const auto& [key, value] : object->items()) dictionary.set(Text(key), valueAt(value, depth + 1));
      return dictionary;
    }
    default:
      throw Failure(Exit::BadData, say("null is no value of a setting"));
  }
}

std::string allOf(int file, const std::string& name) {
  // Settings are some kilobytes; more than this is another kind of file.
  constexpr std::size_t kLargest = std::size_t{1} << 28;
  std::string bytes;
  std::array<char, 65536> block;
  for (;;) {
    const ssize_t got = read(file, block.data(), block.size());
    if (got == 0) return bytes;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw Failure(exitFor(errno), say("cannot read {}: {}", name, systemReason(errno)));
    bytes.append(block.data(), static_cast<std::size_t>(got));
    if (bytes.size() > kLargest) throw Failure(Exit::BadData, say("{} is too large for settings", name));
  }
}

std::string bytesOf(const std::string& path) {
  if (path == "-") return allOf(STDIN_FILENO, say("standard input"));
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0)
    throw Failure(errno == ENOENT || errno == ENOTDIR ? Exit::NotFound : exitFor(errno),
                  say("cannot open {}: {}", path, systemReason(errno)));
  const std::unique_ptr<const int, void (*)(const int*)> closing(&file,
                                                                 [](const int* open) { close(*open); });
  return allOf(file, path);
}

}  // namespace

Value valueFromJson(const Json& json) { return valueAt(json, 1); }

Json jsonFromValue(const Value& value) {
  if (const Text* text = value.asText()) return text->string();
  if (const Data* data = value.asData()) return {{"$data", base64(data->view())}};
  if (const Date* date = value.asDate()) return {{"$date", date->secondsSince2001}};
  if (const Number* number = value.asNumber()) switch (number->kind()) {
      case Number::Kind::Boolean:
        return number->boolValue();
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
    for (const Value& element : *array) all.push_back(jsonFromValue(element));
    return all;
  }
  Json all = Json::object();
  for (const auto& [key, held] : *value.asDictionary()) all[key.string()] = jsonFromValue(held);
  if (all.size() == 1 && all.begin().key().starts_with('$')) return {{"$dictionary", all}};
  return all;
}

PreferenceFile readPreferenceFile(const std::string& path) {
  const std::string bytes = bytesOf(path);
  Value top;
  try {
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    top = first != bytes.npos && bytes[first] == '{' ? valueFromJson(Json::parse(bytes))
                                                     : qorvane::readPropertyList(bytes);
  } catch (const qorvane::Exception& error) {
    throw Failure(Exit::BadData, say("{} is no property list and no JSON: {}", path, told(error.failure())));
  } catch (const Json::parse_error& error) {
    // Not the parser's own sentence: it is English, and shows what it read.
    const std::string reason = say("bad JSON at byte {}", std::to_string(error.byte));
    throw Failure(Exit::BadData, say("{} is no property list and no JSON: {}", path, reason));
  } catch (const Failure& error) {
    throw Failure(Exit::BadData, say("{} is no property list and no JSON: {}", path, error.what()));
  }
  PreferenceFile file;
  if (!top.asDictionary()) throw Failure(Exit::BadData, say("{} holds no dictionary of settings", path));
  for (const auto& [key, value] : *top.asDictionary())
    if (const auto domain = Domain::fromKey(key); domain && value.asDictionary())
      file.settings[*domain] = *value.asDictionary();
    else
      file.others.push_back(key.string());
  if (file.settings.empty())
    throw Failure(Exit::BadData, say("{} holds no settings of a product and year", path));
  return file;
}

std::string preferenceFileBytes(const std::map<Domain, Dictionary>& settings, ExchangeForm form) try {
  Dictionary top;
  for (const auto& [domain, entries] : settings) top.set(domain.key(), entries);
  if (form == ExchangeForm::JsonText) return jsonFromValue(top).dump(2) + "\n";
  return writePropertyList(top,
                           form == ExchangeForm::Xml ? PropertyListFormat::Xml : PropertyListFormat::Binary);
} catch (const qorvane::Exception& error) {
  throw Failure(Exit::BadData, say("these settings cannot be said in this form: {}", told(error.failure())));
}

void writeWholeFile(const std::string& path, std::string_view bytes) {
  const auto fail = [&] {
    throw Failure(exitFor(errno), say("cannot write {}: {}", path, systemReason(errno)));
  };
  // A link's target is replaced, not the link; a pipe or a terminal is written to.
  struct stat status;
  const bool exists = stat(path.c_str(), &status) == 0;
  const bool regular = !exists || S_ISREG(status.st_mode);
  std::string target = path;
  if (exists && regular)
    if (char* real = realpath(path.c_str(), nullptr)) {
      target = real;
      std::free(real);
    }
  std::string staged = regular ? target + ".XXXXXX" : target;
  const int file = regular ? mkostemp(staged.data(), O_CLOEXEC) : open(target.c_str(), O_WRONLY | O_CLOEXEC);
  if (file < 0) fail();
  bool good = true;
  for (std::size_t written = 0; good && written < bytes.size();) {
    const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
    if (count >= 0)
      written += static_cast<std::size_t>(count);
    else
      good = errno == EINTR;
  }
  if (good && regular) good = fsync(file) == 0;
  const int error = errno;
  if (close(file) != 0 || !good || (regular && rename(staged.c_str(), target.c_str()) != 0)) {
    const int last = good ? errno : error;
    if (regular) unlink(staged.c_str());
    errno = last;
    fail();
  }
}

}  // namespace optionsmgr
