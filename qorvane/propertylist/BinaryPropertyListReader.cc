#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyListParts.h"
#include "qorvane/propertylist/Utf16.h"

namespace qorvane::inline v1::detail {

namespace {

class BinaryReader {
 public:
  BinaryReader(std::string_view bytes, const PropertyListLimits& limits) : bytes_(bytes), limits_(limits) {}

  Value read() {
    readTrailer();
    objects_.resize(objectCount_);
    return std::move(decode(topObject_, 0).value);
  }

 private:
  /// What an object was decoded to. Objects may be referred to from several places; each is decoded once.
  struct Decoded {
    Value value;
    /// Itself and all it holds, counted wherever it appears; 0 as long as it is not decoded.
    std::size_t count = 0;
    /// The levels of containers in it, itself included.
    std::uint32_t height = 0;
    /// It is a container whose contents are being decoded.
    bool open = false;
  };

  /// An object's first byte and, where there is one, its size.
  struct Head {
    std::size_t start;
    /// Where its contents begin.
    std::size_t at;
    std::size_t size;
    unsigned type;
  };

  [[noreturn]] static void fail(std::size_t at, FailureCode why) {
    throw Exception({FailureCode::binaryBad, {std::to_string(at)}, 0, {{why}}});
  }

  unsigned byteAt(std::size_t at) const { return static_cast<unsigned char>(bytes_[at]); }

  /// A big-endian number of 1 to 8 bytes, all of which must be there.
  std::uint64_t numberAt(std::size_t at, std::size_t size) const {
    // The sizes of nearly all offsets and references.
    if (size == 1) return byteAt(at);
    if (size == 2) return byteAt(at) << 8 | byteAt(at + 1);
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i) number = number << 8 | byteAt(at + i);
    return number;
  }

  void readTrailer() {
    if (!bytes_.starts_with(kBinaryMagic)) fail(0, FailureCode::binaryVersion);
    if (bytes_.size() < kBinaryMagic.size() + 1 + kTrailerSize)
      fail(bytes_.size(), FailureCode::binaryCutShort);
    const std::size_t trailer = bytes_.size() - kTrailerSize;
    offsetSize_ = byteAt(trailer + 6);
    referenceSize_ = byteAt(trailer + 7);
    const std::uint64_t count = numberAt(trailer + 8, 8);
    const std::uint64_t top = numberAt(trailer + 16, 8);
    const std::uint64_t table = numberAt(trailer + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8) fail(trailer + 6, FailureCode::binaryOffsetSize);
    if (referenceSize_ < 1 || referenceSize_ > 8) fail(trailer + 7, FailureCode::binaryReferenceSize);
    if (table <= kBinaryMagic.size() || table > trailer) fail(trailer + 24, FailureCode::binaryTableOutside);
    if (count == 0 || count > (trailer - table) / offsetSize_)
      fail(trailer + 8, FailureCode::binaryCountMismatch);
    if (top >= count) fail(trailer + 16, FailureCode::binaryNoTop);
    if (count > limits_.objects) fail(trailer + 8, FailureCode::plistTooMany);
    // None is larger than the file, whatever the processor takes for a size.
    objectCount_ = static_cast<std::size_t>(count);
    topObject_ = static_cast<std::size_t>(top);
    objectsEnd_ = static_cast<std::size_t>(table);
  }

  /// The object's value, decoded now or before. `depth` is the number of containers around it.
  Decoded& decode(std::size_t number, std::size_t depth) {
    Decoded& object = objects_[number];
    if (object.open) fail(offsetOf(number), FailureCode::binaryHoldsItself);
    if (object.count != 0) {
      if (depth + object.height > limits_.depth) fail(offsetOf(number), FailureCode::plistTooDeep);
      return object;
    }
    const Head head = headOf(number);
    object.count = 1;
    if (head.type < 0xA) {
      object.value = leaf(head);
      return object;
    }
    if (depth >= limits_.depth) fail(head.start, FailureCode::plistTooDeep);
    object.open = true;
    if (head.type == 0xA)
      decodeArray(head, depth + 1, object);
    else
      decodeDictionary(head, depth + 1, object);
    object.open = false;
    ++object.height;
    return object;
  }

  std::size_t offsetOf(std::size_t number) const {
    const std::size_t entry = objectsEnd_ + number * offsetSize_;
    const std::uint64_t offset = numberAt(entry, offsetSize_);
    if (offset < kBinaryMagic.size() || offset >= objectsEnd_) fail(entry, FailureCode::binaryOffsetOutside);
    return static_cast<std::size_t>(offset);
  }

  Head headOf(std::size_t number) {
    const std::size_t start = offsetOf(number);
    Head head{.start = start, .at = start + 1, .size = byteAt(start) & 0xF, .type = byteAt(start) >> 4};
    switch (head.type) {
      case 0x0:
        takeBytes(head, 0, 1);
        break;
      case 0x1:
      case 0x2:
      case 0x3:
        if (head.size > 4) failUnknown(head);
        head.size = std::size_t{1} << head.size;
        takeBytes(head, head.size, 1);
        break;
      case 0x4:
      case 0x5:
        readSize(head);
        takeBytes(head, head.size, 1);
        break;
      case 0x6:
        readSize(head);
        takeBytes(head, head.size, 2);
        break;
      case 0x8:
        fail(start, FailureCode::binaryArchiverReference);
      case 0xA:
        readSize(head);
        takeBytes(head, head.size, referenceSize_);
        break;
      case 0xD:
        readSize(head);
        takeBytes(head, head.size, 2 * referenceSize_);
        break;
      default:
        failUnknown(head);
    }
    return head;
  }

  [[noreturn]] static void failUnknown(const Head& head) {
    // Not which kind is asked for: of damage, that byte may be a value's.
    fail(head.start, FailureCode::binaryNoKind);
  }

  /// A size that does not fit the first byte follows as an integer.
  void readSize(Head& head) const {
    if (head.size != 0xF) return;
    const std::size_t left = objectsEnd_ - head.at;
    const unsigned marker = left > 0 ? byteAt(head.at) : 0;
    if (marker < 0x10 || marker > 0x13) fail(head.start, FailureCode::binarySizeMissing);
    const std::size_t width = std::size_t{1} << (marker & 0xF);
    if (left - 1 < width) fail(head.start, FailureCode::binarySizeMissing);
    const std::uint64_t size = numberAt(head.at + 1, width);
    // Here already: where sizes have 32 bits, a large one would become a small one.
    if (size > objectsEnd_) fail(head.start, FailureCode::binaryRunsPastEnd);
    head.size = static_cast<std::size_t>(size);
    head.at += 1 + width;
  }

  /// Checks that the object's contents are there. Objects do not overlap in anything that a writer makes;
  /// with overlaps, a small file could make any amount of work and of values.
  void takeBytes(const Head& head, std::uint64_t count, std::size_t unit) {
    if (count > (objectsEnd_ - head.at) / unit) fail(head.start, FailureCode::binaryRunsPastEnd);
    taken_ += head.at - head.start + static_cast<std::size_t>(count) * unit;
    if (taken_ > bytes_.size()) fail(head.start, FailureCode::binaryOverlap);
  }

  Value leaf(const Head& head) {
    switch (head.type) {
      case 0x0:
        if (byteAt(head.start) == 0x08) return Number(false);
        if (byteAt(head.start) == 0x09) return Number(true);
        if (byteAt(head.start) == 0x00) fail(head.start, FailureCode::binaryNull);
        failUnknown(head);
      case 0x1:
        return integer(head);
      case 0x2:
        if (head.size == 4)
          return Number(std::bit_cast<float>(static_cast<std::uint32_t>(numberAt(head.at, 4))));
        if (head.size == 8) return Number(std::bit_cast<double>(numberAt(head.at, 8)));
        failUnknown(head);
      case 0x3:
        if (head.size == 8) return Date{std::bit_cast<double>(numberAt(head.at, 8))};
        failUnknown(head);
      case 0x4:
        return Data(std::string(bytes_.substr(head.at, head.size)));
      default:
        return text(head);
    }
  }

  Number integer(const Head& head) const {
    // One, two and four bytes hold no sign; eight do; sixteen are for what is above their range.
    if (head.size < 8) return Number(numberAt(head.at, head.size));
    if (head.size == 8) return Number(static_cast<std::int64_t>(numberAt(head.at, 8)));
    const std::uint64_t high = numberAt(head.at, 8);
    const std::uint64_t low = numberAt(head.at + 8, 8);
    if (high == 0) return Number(low);
    const auto negative = static_cast<std::int64_t>(low);
    if (high != std::numeric_limits<std::uint64_t>::max() || negative >= 0)
      fail(head.start, FailureCode::integerTooLarge);
    return Number(negative);
  }

  Text text(const Head& head) {
    if (head.type == 0x5) {
      const std::string_view ascii = bytes_.substr(head.at, head.size);
      // Some writers put UTF-8 here; bytes that are not even that would come back changed.
      if (!isWellFormedUtf8(ascii)) fail(head.start, FailureCode::binaryTextEncoding);
      return Text::fromWellFormed(ascii);
    }
    const std::string_view units = bytes_.substr(head.at, 2 * head.size);
    if (buffer_.size() < 3 * head.size) buffer_.resize(3 * head.size);
    const char* end = putUtf16AsUtf8(buffer_.data(), units, true);
    return Text::fromWellFormed({buffer_.data(), static_cast<std::size_t>(end - buffer_.data())});
  }

  /// Decodes what a container's reference at `at` refers to and counts it in.
  const Value& element(std::size_t at, std::size_t depth, Decoded& container) {
    const std::uint64_t number = numberAt(at, referenceSize_);
    if (number >= objectCount_) fail(at, FailureCode::binaryNoObject);
    const Decoded& object = decode(static_cast<std::size_t>(number), depth);
    if (object.count > limits_.objects - container.count) fail(at, FailureCode::plistTooMany);
    container.count += object.count;
    container.height = std::max(container.height, object.height);
    return object.value;
  }

  /// Counts a container's references before memory is reserved for them.
  void countReferences(const Head& head, std::size_t each) {
    references_ += head.size * each;
    if (references_ > limits_.objects) fail(head.start, FailureCode::plistTooMany);
  }

  void decodeArray(const Head& head, std::size_t depth, Decoded& result) {
    countReferences(head, 1);
    Array array;
    array.reserve(head.size);
    for (std::size_t i = 0; i < head.size; ++i)
      array.push_back(element(head.at + i * referenceSize_, depth, result));
    result.value = std::move(array);
  }

  void decodeDictionary(const Head& head, std::size_t depth, Decoded& result) {
    countReferences(head, 2);
    Dictionary dictionary;
    dictionary.reserve(head.size);
    for (std::size_t i = 0; i < head.size; ++i) {
      const std::size_t keyAt = head.at + i * referenceSize_;
      const Text* key = element(keyAt, depth, result).asText();
      if (!key) fail(keyAt, FailureCode::binaryKeyNoText);
      dictionary.set(*key, element(keyAt + head.size * referenceSize_, depth, result));
    }
    result.value = std::move(dictionary);
  }

  const std::string_view bytes_;
  const PropertyListLimits limits_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::size_t objectCount_ = 0;
  std::size_t topObject_ = 0;
  /// Where the objects end and the table of offsets begins.
  std::size_t objectsEnd_ = 0;
  std::vector<Decoded> objects_;
  /// The bytes of all objects decoded so far.
  std::size_t taken_ = 0;
  /// The references of all containers decoded so far.
  std::size_t references_ = 0;
  std::string buffer_;
};

}  // namespace

Value readBinary(std::string_view bytes, const PropertyListLimits& limits) {
  return BinaryReader(bytes, limits).read();
}

}  // namespace qorvane::detail
