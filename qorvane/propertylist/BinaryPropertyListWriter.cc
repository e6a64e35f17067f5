#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyListParts.h"
#include "qorvane/propertylist/Utf16.h"

namespace qorvane::inline v1 {

namespace {

using detail::KeyPath;

/// The bytes of the smallest width, among 1, 2, 4 and 8, that holds the number.
std::size_t widthOf(std::uint64_t number) {
  return number <= 0xFF ? 1 : number <= 0xFFFF ? 2 : number <= 0xFFFFFFFF ? 4 : 8;
}

/// One object of the file to be.
struct Item {
  enum class Kind : std::uint8_t { Boolean, Integer, Unsigned, Real, Date, Data, Text, Array, Dictionary };

  Kind kind;
  /// Text, data: the bytes. They live in the value that is written.
  std::string_view bytes{};
  /// Boolean, integer, real, date: the bits. Containers: where their references begin.
  std::uint64_t bits = 0;
  /// Texts: UTF-16 units, as many as bytes when all are ASCII; containers: elements; integers: width in
  /// bytes.
  std::size_t size = 0;
};

/// Finds equal texts, numbers and blocks, so that each is written once. It only saves space: whatever is dear
/// to find out (long texts, crowded places) counts as different.
class Uniques {
 public:
  // Room for some hundred options without growing.
  Uniques() : slots_(2048) {}

  /// The number of an earlier item equal to this one, or `next`, which it then is.
  std::uint32_t find(const Item& item, const std::vector<Item>& items, std::uint32_t next) {
    constexpr std::size_t kProbes = 32;
    const std::uint64_t hash = hashOf(item);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = static_cast<std::size_t>(hash), probe = 0; probe < kProbes; ++at, ++probe) {
      Slot& slot = slots_[at & mask];
      if (slot.number == 0) {
        slot = {next + 1, static_cast<std::uint32_t>(hash)};
        if (++used_ * 2 > slots_.size()) grow(items, item);
        return next;
      }
      if (slot.hash == static_cast<std::uint32_t>(hash) && same(items[slot.number - 1], item))
        return slot.number - 1;
    }
    return next;
  }

 private:
  struct Slot {
    std::uint32_t number = 0;
    std::uint32_t hash = 0;
  };

  // Longer ones are equal when they are the same bytes in the same place, as copies of one value are.
  static constexpr std::size_t kCompared = 128;

  static constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;

  static std::uint64_t hashOf(const Item& item) {
    const std::uint64_t kind = static_cast<std::uint64_t>(item.kind) * kOdd;
    if (item.kind < Item::Kind::Data) {
      const std::uint64_t mixed = (item.bits ^ kind) * kOdd;
      return mixed ^ mixed >> 32;
    }
    // Texts and blocks by their length, their ends and their middle. Not by their place in memory, which
    // would make the bytes differ from run to run.
    const std::size_t size = item.bytes.size();
    const char* const bytes = item.bytes.data();
    std::uint64_t mixed = (size ^ kind) * kOdd;
    if (size >= 8) {
      mixed = (mixed ^ wordAt(bytes) ^ mixed >> 29) * kOdd;
      mixed = (mixed ^ wordAt(bytes + size / 2 - 4) ^ mixed >> 29) * kOdd;
      mixed = (mixed ^ wordAt(bytes + size - 8) ^ mixed >> 29) * kOdd;
    } else {
      for (const char byte : item.bytes) mixed = (mixed ^ static_cast<unsigned char>(byte)) * kOdd;
    }
    return (mixed ^ mixed >> 32) * kOdd >> 32;
  }

  static std::uint64_t wordAt(const char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
  }

  static bool same(const Item& a, const Item& b) {
    if (a.kind != b.kind || a.bits != b.bits || a.bytes.size() != b.bytes.size()) return false;
    return a.bytes.data() == b.bytes.data() || (a.bytes.size() <= kCompared && a.bytes == b.bytes);
  }

  void grow(const std::vector<Item>& items, const Item& newest) {
    std::vector<Slot> old(slots_.size() * 2);
    old.swap(slots_);
    used_ = 0;
    for (const Slot& slot : old) {
      if (slot.number == 0) continue;
      std::size_t at =
          static_cast<std::size_t>(hashOf(slot.number - 1 < items.size() ? items[slot.number - 1] : newest));
      while (slots_[at & (slots_.size() - 1)].number != 0) ++at;
      slots_[at & (slots_.size() - 1)] = slot;
      ++used_;
    }
  }

  std::vector<Slot> slots_;
  std::size_t used_ = 0;
};

class BinaryWriter {
 public:
  std::string write(const Value& value, const BinaryPropertyListOptions& options,
                    std::size_t* reservedOffset) {
    items_.reserve(512);
    references_.reserve(1024);
    add(value, 0, nullptr);

    referenceSize_ = widthOf(items_.size() - 1);
    const std::size_t objectsEnd =
        detail::kBinaryMagic.size() + objectBytes_ + references_.size() * referenceSize_;
    budget_.checkSize(options.reservedBytes);
    const std::size_t table = objectsEnd + options.reservedBytes;
    const std::size_t offsetSize = widthOf(table);
    const std::size_t size = table + items_.size() * offsetSize + detail::kTrailerSize;
    budget_.checkSize(size);
    if (reservedOffset) *reservedOffset = objectsEnd;

    // Every size is known, so the bytes are put in place without a check or a move.
    std::string bytes(size, '\0');
    out_ = bytes.data();
    char* entry = bytes.data() + table;
    putBytes(detail::kBinaryMagic);
    for (const Item& item : items_) {
      putNumber(entry, static_cast<std::size_t>(out_ - bytes.data()), offsetSize);
      entry += offsetSize;
      put(item);
    }
    char* trailer = bytes.data() + size - detail::kTrailerSize;
    std::memcpy(trailer, options.trailerBytes.data(), options.trailerBytes.size());
    trailer[6] = static_cast<char>(offsetSize);
    trailer[7] = static_cast<char>(referenceSize_);
    putNumber(trailer + 8, items_.size(), 8);
    putNumber(trailer + 24, table, 8);
    return bytes;
  }

 private:
  /// Makes the value and all it holds into items; returns its number. `depth` is the number of containers
  /// around it.
  std::uint32_t add(const Value& value, std::size_t depth, const KeyPath* path) {
    switch (value.kind()) {
      case Value::Kind::Nil:
        budget_.fail(path, FailureCode::valueNil);
      case Value::Kind::Text:
        return addText(*value.asText(), path);
      case Value::Kind::Number:
        return addNumber(*value.asNumber(), path);
      case Value::Kind::Data:
        return addUnique({.kind = Item::Kind::Data, .bytes = value.asData()->view()}, path);
      case Value::Kind::Date:
        return addUnique({.kind = Item::Kind::Date, .bits = bitsOf(value.asDate()->secondsSince2001)}, path);
      case Value::Kind::Array: {
        const Array& array = *value.asArray();
        const auto [number, first] = addContainer(Item::Kind::Array, array.size(), array.size(), depth, path);
        KeyPath step{.outer = path};
        for (std::size_t i = 0; i < array.size(); ++i) {
          step.index = i;
          const std::uint32_t element = add(array[i], depth + 1, &step);
          references_[first + i] = element;
        }
        return number;
      }
      case Value::Kind::Dictionary:
        break;
    }
    const Dictionary& dictionary = *value.asDictionary();
    const std::size_t size = dictionary.size();
    const auto [number, first] = addContainer(Item::Kind::Dictionary, size, 2 * size, depth, path);
    KeyPath step{.outer = path};
    std::size_t i = first;
    for (const Dictionary::Entry& entry : dictionary) {
      step.key = &entry.key;
      references_[i] = addText(entry.key, &step);
      const std::uint32_t element = add(entry.value, depth + 1, &step);
      references_[i + size] = element;
      ++i;
    }
    return number;
  }

  static std::uint64_t bitsOf(double real) { return std::bit_cast<std::uint64_t>(real); }

  std::uint32_t addText(const Text& text, const KeyPath* path) {
    return addUnique({.kind = Item::Kind::Text, .bytes = text.view()}, path);
  }

  std::uint32_t addNumber(const Number& number, const KeyPath* path) {
    switch (number.kind()) {
      case Number::Kind::Boolean:
        return addUnique({.kind = Item::Kind::Boolean, .bits = number.bits()}, path);
      case Number::Kind::Integer:
        return addUnique({.kind = Item::Kind::Integer, .bits = number.bits()}, path);
      case Number::Kind::Unsigned:
        return addUnique({.kind = Item::Kind::Unsigned, .bits = number.bits()}, path);
      case Number::Kind::Real:
        break;
    }
    return addUnique({.kind = Item::Kind::Real, .bits = bitsOf(number.doubleValue())}, path);
  }

  std::uint32_t addUnique(const Item& item, const KeyPath* path) {
    budget_.countObject(path);
    const auto next = static_cast<std::uint32_t>(items_.size());
    const std::uint32_t number = uniques_.find(item, items_, next);
    if (number == next) {
      items_.push_back(item);
      objectBytes_ += measure(items_.back());
      budget_.checkSize(objectBytes_);
    }
    return number;
  }

  /// Finds out the item's size; returns the bytes that it takes in the file. Not before the item is known to
  /// be new: a long text may appear very often.
  static std::size_t measure(Item& item) {
    const std::size_t bytes = item.bytes.size();
    switch (item.kind) {
      case Item::Kind::Boolean:
        return 1;
      case Item::Kind::Integer:
        // Only eight bytes hold a sign; a negative number's bits need all of them.
        item.size = widthOf(item.bits);
        return 1 + item.size;
      case Item::Kind::Unsigned:
        item.size = 16;
        return 1 + item.size;
      case Item::Kind::Data:
        item.size = bytes;
        return headSize(bytes) + bytes;
      case Item::Kind::Text:
        item.size = detail::isAscii(item.bytes) ? bytes : detail::utf16Length(item.bytes);
        return headSize(item.size) + (item.size == bytes ? bytes : 2 * item.size);
      default:
        return 9;
    }
  }

  struct Container {
    std::uint32_t number;
    std::size_t first;
  };

  Container addContainer(Item::Kind kind, std::size_t size, std::size_t references, std::size_t depth,
                         const KeyPath* path) {
    budget_.countObject(path);
    budget_.checkDepth(depth + 1, path);
    const Container result{static_cast<std::uint32_t>(items_.size()), references_.size()};
    items_.push_back({.kind = kind, .bits = result.first, .size = size});
    references_.resize(references_.size() + references);
    objectBytes_ += headSize(size);
    return result;
  }

  /// The bytes of an object's first byte and size.
  static std::size_t headSize(std::size_t size) { return size < 0xF ? 1 : 2 + widthOf(size); }

  static void putNumber(char* out, std::uint64_t number, std::size_t width) {
    for (std::size_t i = width; i > 0; --i, number >>= 8) out[i - 1] = static_cast<char>(number);
  }
  void putByte(unsigned byte) { *out_++ = static_cast<char>(byte); }
  void putNumber(std::uint64_t number, std::size_t width) {
    putNumber(out_, number, width);
    out_ += width;
  }
  void putBytes(std::string_view bytes) {
    if (!bytes.empty()) std::memcpy(out_, bytes.data(), bytes.size());
    out_ += bytes.size();
  }
  void putHead(unsigned type, std::size_t size) {
    if (size < 0xF) {
      putByte(type | static_cast<unsigned>(size));
      return;
    }
    putByte(type | 0xF);
    putInteger(size, widthOf(size));
  }
  void putInteger(std::uint64_t number, std::size_t width) {
    putByte(0x10U | static_cast<unsigned>(std::countr_zero(width)));
    if (width == 16) putNumber(0, 8);
    putNumber(number, width == 16 ? 8 : width);
  }
  void putUtf16(std::string_view utf8) {
    for (std::size_t at = 0; at < utf8.size();) {
      const char32_t character = detail::nextCharacter(utf8, at);
      if (character < 0x10000) {
        putNumber(character, 2);
      } else {
        putNumber(0xD800 + ((character - 0x10000) >> 10), 2);
        putNumber(0xDC00 + (character & 0x3FF), 2);
      }
    }
  }
  void putReferences(const Item& item, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      putNumber(references_[static_cast<std::size_t>(item.bits) + i], referenceSize_);
  }

  void put(const Item& item) {
    switch (item.kind) {
      case Item::Kind::Boolean:
        return putByte(item.bits ? 0x09 : 0x08);
      case Item::Kind::Integer:
      case Item::Kind::Unsigned:
        return putInteger(item.bits, item.size);
      case Item::Kind::Real:
        putByte(0x23);
        return putNumber(item.bits, 8);
      case Item::Kind::Date:
        putByte(0x33);
        return putNumber(item.bits, 8);
      case Item::Kind::Data:
        putHead(0x40, item.size);
        return putBytes(item.bytes);
      case Item::Kind::Text:
        if (item.size == item.bytes.size()) {
          putHead(0x50, item.size);
          return putBytes(item.bytes);
        }
        putHead(0x60, item.size);
        return putUtf16(item.bytes);
      case Item::Kind::Array:
        putHead(0xA0, item.size);
        return putReferences(item, item.size);
      case Item::Kind::Dictionary:
        putHead(0xD0, item.size);
        return putReferences(item, 2 * item.size);
    }
  }

  detail::WriterBudget budget_;
  std::vector<Item> items_;
  std::vector<std::uint32_t> references_;
  Uniques uniques_;
  /// The bytes of all objects, the references of containers not counted.
  std::size_t objectBytes_ = 0;
  std::size_t referenceSize_ = 0;
  char* out_ = nullptr;
};

}  // namespace

std::string writeBinaryPropertyList(const Value& value, const BinaryPropertyListOptions& options,
                                    std::size_t* reservedOffset) {
  return BinaryWriter().write(value, options, reservedOffset);
}

}  // namespace qorvane::inline v1
