#include "tests/propertylist/PropertyListSamples.h"

#include <bit>
#include <limits>

namespace testing_support {

using namespace qorvane;

namespace {

template <class T>
T pick(std::mt19937_64& random, const std::vector<T>& from) {
  return from[random() % from.size()];
}

std::string randomText(std::mt19937_64& random, const RandomValueOptions& options) {
  std::vector<std::string> pieces{"a",          "Key",    "é",      "Québec", "…",     "日本", "\U0001F341",
                                  "\U0010FFFD", " ",      "<",      ">",      "&",     "\"",   "'",
                                  "]]>",        "\t",     "\n",     "0",      "x",     "%@",   "--",
                                  ";",          "\u007F", "\uFFFD", "\uD7FF", "\uE000"};
  if (options.controlCharacters)
    for (const char* piece : {"\r", "\r\n", "\x01", "\x1F", "\uFFFE", "\uFFFF"}) pieces.emplace_back(piece);
  if (options.embeddedNuls) pieces.emplace_back(1, '\0');
  // Around the sizes at which the stored form of a size changes, now and then.
  static const std::vector<std::size_t> lengths{0, 1, 2, 3, 5, 8, 14, 15, 16, 40, 255, 256, 300};
  std::string text;
  for (std::size_t left = pick(random, lengths); left > 0; --left) text += pick(random, pieces);
  return text;
}

}  // namespace

std::vector<Number> awkwardIntegers() {
  std::vector<Number> result;
  for (int bit = 0; bit < 64; ++bit) {
    const std::uint64_t power = std::uint64_t{1} << bit;
    for (const std::uint64_t bits : {power - 1, power, power + 1}) {
      result.emplace_back(bits);
      result.emplace_back(static_cast<std::int64_t>(0 - bits));
    }
  }
  result.emplace_back(std::numeric_limits<std::uint64_t>::max());
  result.emplace_back(std::numeric_limits<std::int64_t>::min());
  result.emplace_back(std::numeric_limits<std::int64_t>::max());
  return result;
}

std::vector<double> awkwardReals() {
  using Limits = std::numeric_limits<double>;
  return {0.0,
          -0.0,
          1.0,
          -1.5,
          0.1,
          1.0 / 3.0,
          1e23,
          123456789.125,
          0.30000000000000004,
          9007199254740993.0,
          Limits::min(),
          Limits::denorm_min(),
          -Limits::denorm_min(),
          Limits::max(),
          Limits::lowest(),
          Limits::epsilon(),
          Limits::infinity(),
          -Limits::infinity()};
}

Value oneOfEverything() {
  Array integers;
  for (const Number& number : awkwardIntegers()) integers.emplace_back(number);
  Array reals;
  for (const double real : awkwardReals()) reals.emplace_back(Number(real));
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
  std::string longText;
  for (int i = 0; i < 40000; ++i) longText += "é0123"[i % 6];
  return Dictionary{
      {"zoé", Text("Zoé à l’école 日本 \U0001F341")},
      {"ascii", Text("plain <&> \"text\" 'with' ]]> all\tof\nit")},
      {"", Text("")},
      {"long", Text(longText)},
      {"yes", Number(true)},
      {"no", Number(false)},
      {"integers", integers},
      {"reals", reals},
      {"data", Data(allBytes)},
      {"no data", Data()},
      {"dates", Array{Date{0}, Date{-1}, Date{694224000}, Date{-63113904000.0}, Date{252423993599.0}}},
      {"empty", Array{Array{}, Dictionary{}, Text("")}},
      {"nested", Array{Dictionary{{"a", Array{Dictionary{{"b", Text("c")}}}}}, Text("a"), Text("a")}},
  };
}

Value settingsLikeValue() {
  Dictionary options;
  for (int i = 0; i < 150; ++i) {
    const Text key("SomeOptionOrOther" + std::to_string(i));
    switch (i % 6) {
      case 0:
      case 1:
        options.set(key, i % 4 ? Text("YES") : Text("NO"));
        break;
      case 2:
        options.set(key, Text("/home/preparer/Documents/Returns/" + std::to_string(i)));
        break;
      case 3:
        options.set(key, Text("Montréal, Québec"));
        break;
      case 4:
        options.set(key, Number(i));
        break;
      default:
        options.set(key, Data(std::string(66, static_cast<char>(i))));
    }
  }
  return Dictionary{{"QorvaneT1Settings2020", options}};
}

Value randomValue(std::mt19937_64& random, const RandomValueOptions& options, int depth) {
  static const std::vector<Number> integers = awkwardIntegers();
  static const std::vector<double> reals = awkwardReals();
  switch (random() % (depth < 5 ? 9 : 6)) {
    case 0:
      return Text(randomText(random, options));
    case 1:
      return Number(random() % 2 == 0);
    case 2:
      return random() % 2 ? pick(random, integers) : Number(static_cast<std::int64_t>(random()));
    case 3: {
      const double real = random() % 2 ? pick(random, reals) : std::bit_cast<double>(random());
      if (real == 0 && !options.negativeZeros) return Number(0.0);
      return Number(real == real || options.nanBits ? real : 1.0);
    }
    case 4: {
      std::string bytes(random() % 70, '\0');
      for (char& byte : bytes) byte = static_cast<char>(random());
      return Data(bytes);
    }
    case 5: {
      // Years 1938 to 2068.
      const auto seconds =
          static_cast<double>(static_cast<std::int64_t>(random() % 4'102'444'800) - 1'988'150'400);
      return Date{options.fractionalDates && random() % 2 ? seconds + 0.123456789 : seconds};
    }
    case 6: {
      Array array;
      for (std::size_t left = random() % 9; left > 0; --left)
        array.push_back(randomValue(random, options, depth + 1));
      return array;
    }
    default: {
      Dictionary dictionary;
      for (std::size_t left = random() % 9; left > 0; --left) {
        // Named before use: the order in which arguments are made is the compiler's affair.
        const Text key(randomText(random, options));
        dictionary.set(key, randomValue(random, options, depth + 1));
      }
      return dictionary;
    }
  }
}

std::string fromHex(std::string_view hex) {
  std::string bytes;
  int high = -1;
  for (const char c : hex) {
    const std::size_t digit = std::string_view("0123456789abcdef").find(c);
    if (digit == std::string_view::npos) continue;
    if (high < 0) {
      high = static_cast<int>(digit);
    } else {
      bytes += static_cast<char>(high * 16 + static_cast<int>(digit));
      high = -1;
    }
  }
  return bytes;
}

std::string toHex(std::string_view bytes) {
  std::string hex;
  for (const char c : bytes) {
    hex += "0123456789abcdef"[static_cast<unsigned char>(c) >> 4];
    hex += "0123456789abcdef"[static_cast<unsigned char>(c) & 15];
  }
  return hex;
}

}  // namespace testing_support
