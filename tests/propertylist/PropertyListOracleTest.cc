// Our codec against two readers and writers that were made by others: libplist and Python's plistlib. Each is
// given what we write, and we are given what they write, of values that each side made for itself.
#include <gtest/gtest.h>

#include <locale.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/propertylist/PropertyListSamples.h"

#ifdef HAVE_LIBPLIST
#include <plist/plist.h>
#endif

namespace qorvane {
namespace {

constexpr PropertyListFormat kFormats[] = {PropertyListFormat::Binary, PropertyListFormat::Xml};

const char* nameOf(PropertyListFormat format) {
  return format == PropertyListFormat::Binary ? "binary" : "XML";
}

#ifdef HAVE_LIBPLIST

/// libplist takes decimals for French where the locale is; it may work in its own.
class PlainLocale {
 public:
  PlainLocale() : plain_(newlocale(LC_ALL_MASK, "C", nullptr)), before_(uselocale(plain_)) {}
  ~PlainLocale() {
    uselocale(before_);
    freelocale(plain_);
  }
  PlainLocale(const PlainLocale&) = delete;
  PlainLocale& operator=(const PlainLocale&) = delete;

 private:
  locale_t plain_;
  locale_t before_;
};

/// A tree of libplist's own.
class Tree {
 public:
  explicit Tree(plist_t root) : root_(root) {}
  ~Tree() { plist_free(root_); }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  static plist_t read(const std::string& bytes) {
    const PlainLocale plain;
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    return root;
  }

  std::string write(PropertyListFormat format) const {
    const PlainLocale plain;
    char* bytes = nullptr;
    std::uint32_t size = 0;
    const bool binary = format == PropertyListFormat::Binary;
    (binary ? plist_to_bin : plist_to_xml)(root_, &bytes, &size);
    std::string result(bytes, size);
    (binary ? plist_to_bin_free : plist_to_xml_free)(bytes);
    return result;
  }

  plist_t root() const { return root_; }

 private:
  plist_t root_;
};

TEST(PropertyListOracleTest, LibplistReadsWhatWeWrite) {
  const Dictionary value{{"text", Text("Zoé <&> \U0001F341")},
                         {"data", Data(std::string("\0\1\xFF", 3))},
                         {"yes", Number(true)},
                         {"large", Number(std::numeric_limits<std::uint64_t>::max())},
                         {"tenth", Number(0.1)},
                         {"date", Date{86400.0}},
                         {"array", Array{Number(65536), Text("last")}}};
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    const Tree tree(Tree::read(writePropertyList(value, format)));
    ASSERT_EQ(plist_get_node_type(tree.root()), PLIST_DICT);
    ASSERT_EQ(plist_dict_get_size(tree.root()), 7U);
    const auto at = [&](const char* key) { return plist_dict_get_item(tree.root(), key); };

    char* text = nullptr;
    plist_get_string_val(at("text"), &text);
    EXPECT_STREQ(text, "Zoé <&> \U0001F341");
    std::free(text);
    char* data = nullptr;
    std::uint64_t size = 0;
    plist_get_data_val(at("data"), &data, &size);
    EXPECT_EQ(std::string(data, size), std::string("\0\1\xFF", 3));
    std::free(data);
    std::uint8_t yes = 0;
    plist_get_bool_val(at("yes"), &yes);
    EXPECT_EQ(yes, 1);
    std::uint64_t large = 0;
    plist_get_uint_val(at("large"), &large);
    EXPECT_EQ(large, std::numeric_limits<std::uint64_t>::max());
    double tenth = 0;
    plist_get_real_val(at("tenth"), &tenth);
    EXPECT_EQ(tenth, 0.1);
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(at("date"), &seconds, &microseconds);
    EXPECT_EQ(seconds, 86400);
    ASSERT_EQ(plist_array_get_size(at("array")), 2U);
    plist_get_uint_val(plist_array_get_item(at("array"), 0), &large);
    EXPECT_EQ(large, 65536U);
  }
}

TEST(PropertyListOracleTest, WeReadWhatLibplistWrites) {
  const Tree tree(plist_new_dict());
  plist_dict_set_item(tree.root(), "text", plist_new_string("Zoé <&> \U0001F341"));
  plist_dict_set_item(tree.root(), "data", plist_new_data("\0\1\xFF", 3));
  plist_dict_set_item(tree.root(), "yes", plist_new_bool(1));
  plist_dict_set_item(tree.root(), "large", plist_new_uint(std::numeric_limits<std::int64_t>::max()));
  plist_dict_set_item(tree.root(), "tenth", plist_new_real(0.1));
  plist_dict_set_item(tree.root(), "date", plist_new_date(86400, 0));
  plist_t array = plist_new_array();
  plist_array_append_item(array, plist_new_uint(65536));
  plist_array_append_item(array, plist_new_string("last"));
  plist_dict_set_item(tree.root(), "array", array);
  const Dictionary expected{{"text", Text("Zoé <&> \U0001F341")},
                            {"data", Data(std::string("\0\1\xFF", 3))},
                            {"yes", Number(true)},
                            {"large", Number(std::numeric_limits<std::int64_t>::max())},
                            {"tenth", Number(0.1)},
                            {"date", Date{86400.0}},
                            {"array", Array{Number(65536), Text("last")}}};
  for (const PropertyListFormat format : kFormats) {
    const Value value = readPropertyList(tree.write(format));
    EXPECT_TRUE(isIdentical(value, expected)) << nameOf(format) << ": " << value;
  }
}

TEST(PropertyListOracleTest, LibplistBringsBackRandomValues) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 200; ++i) {
    // Its texts end at a NUL, and its XML knows neither control characters nor NaN bits.
    const Value value = testing_support::randomValue(
        random,
        {.embeddedNuls = false, .controlCharacters = false, .fractionalDates = false, .nanBits = false});
    for (const PropertyListFormat ours : kFormats) {
      const Tree tree(Tree::read(writePropertyList(value, ours)));
      ASSERT_TRUE(tree.root()) << i << ' ' << nameOf(ours);
      const Value back = readPropertyList(tree.write(PropertyListFormat::Binary));
      ASSERT_TRUE(isIdentical(back, value)) << i << ' ' << nameOf(ours);
    }
  }
}

TEST(PropertyListOracleTest, LibplistPassesOverTheReservedBytes) {
  const Value value = testing_support::settingsLikeValue();
  std::size_t reserved = 0;
  std::string bytes =
      writeBinaryPropertyList(value, {.reservedBytes = 40, .trailerBytes = {1, 2, 3, 4, 5}}, &reserved);
  bytes.replace(reserved, 40, std::string(40, '\xD5'));
  const Tree tree(Tree::read(bytes));
  ASSERT_TRUE(tree.root());
  EXPECT_TRUE(isIdentical(readPropertyList(tree.write(PropertyListFormat::Binary)), value));
}

#else

TEST(PropertyListOracleTest, Libplist) { GTEST_SKIP() << "built without libplist"; }

#endif

// ---- Python's plistlib -----------------------------------------------------------------------------------

/// Runs a script over files in a folder of its own, which is its working directory.
class Python {
 public:
  const std::filesystem::path& folder() const { return home_.path(); }

  static bool isPresent() { return run("python3 -c 'import plistlib'") == 0; }

  /// Returns the exit code.
  int operator()(std::string_view script) const {
    testing_support::writeFile(folder() / "script.py", script);
    return run("cd '" + folder().string() + "' && python3 script.py");
  }

 private:
  static int run(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  testing_support::TestHome home_;
};

/// The same value in both languages.
constexpr std::string_view kPythonValue = R"(
import datetime, math, plistlib, struct
value = {
    'zoé': 'Zoé <&> \U0001F341 ]]>',
    'ascii': ' a\tb\n',
    '': '',
    'long': 'é' * 70000,
    'yes': True,
    'no': False,
    'integers': [0, 1, -1, 255, 256, 65535, 65536, 2**31, 2**32, 2**63 - 1, 2**63, 2**64 - 1, -2**63],
    # Without 0.0: plistlib would write -0.0 as another 0.0.
    'reals': [-0.0, 0.1, 1e23, 5e-324, 1.7976931348623157e308, math.inf, -math.inf],
    'data': bytes(range(256)),
    'dates': [datetime.datetime(2001, 1, 1), datetime.datetime(1969, 12, 31, 23, 59, 59),
              datetime.datetime(2023, 4, 30, 12, 0, 1), datetime.datetime(1, 1, 1), datetime.datetime(9999, 12, 31)],
    'nested': {'b': [[], {}, [{'a': ['c']}]], 'a': 'a'},
}
def same(a, b):
    if type(a) is not type(b): return False
    if isinstance(a, float): return struct.pack('>d', a) == struct.pack('>d', b)
    if isinstance(a, list): return len(a) == len(b) and all(map(same, a, b))
    if isinstance(a, dict): return list(a) == list(b) and all(same(a[k], b[k]) for k in a)
    return a == b
)";

Value samePythonValue() {
  std::string longText;
  for (int i = 0; i < 70000; ++i) longText += "é";
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
  return Dictionary{
      {"zoé", Text("Zoé <&> \U0001F341 ]]>")},
      {"ascii", Text(" a\tb\n")},
      {"", Text("")},
      {"long", Text(longText)},
      {"yes", Number(true)},
      {"no", Number(false)},
      {"integers",
       Array{Number(0), Number(1), Number(-1), Number(255), Number(256), Number(65535), Number(65536),
             Number(2147483648), Number(4294967296), Number(std::numeric_limits<std::int64_t>::max()),
             Number(std::uint64_t{1} << 63), Number(std::numeric_limits<std::uint64_t>::max()),
             Number(std::numeric_limits<std::int64_t>::min())}},
      {"reals",
       Array{Number(-0.0), Number(0.1), Number(1e23), Number(5e-324),
             Number(std::numeric_limits<double>::max()), Number(std::numeric_limits<double>::infinity()),
             Number(-std::numeric_limits<double>::infinity())}},
      {"data", Data(allBytes)},
      {"dates",
       Array{Date{0}, Date{-978307201.0}, Date{704548801.0}, Date{-63113904000.0}, Date{252423907200.0}}},
      {"nested", Dictionary{{"b", Array{Array{}, Dictionary{}, Array{Dictionary{{"a", Array{Text("c")}}}}}},
                            {"a", Text("a")}}},
  };
}

TEST(PropertyListOracleTest, PythonReadsWhatWeWrite) {
  if (!Python::isPresent()) GTEST_SKIP() << "no python3 with plistlib";
  const Python python;
  for (const PropertyListFormat format : kFormats)
    testing_support::writeFile(python.folder() / nameOf(format),
                               writePropertyList(samePythonValue(), format));
  EXPECT_EQ(python(std::string(kPythonValue) + R"(
for name in 'binary', 'XML':
    with open(name, 'rb') as file:
        assert same(plistlib.load(file), value), name
)"),
            0);
}

TEST(PropertyListOracleTest, WeReadWhatPythonWrites) {
  if (!Python::isPresent()) GTEST_SKIP() << "no python3 with plistlib";
  const Python python;
  ASSERT_EQ(python(std::string(kPythonValue) + R"(
for name, form in ('binary', plistlib.FMT_BINARY), ('XML', plistlib.FMT_XML):
    with open(name, 'wb') as file:
        plistlib.dump(value, file, fmt=form, sort_keys=False)
)"),
            0);
  const Value same = samePythonValue();
  for (const PropertyListFormat format : kFormats) {
    const Value value = readPropertyList(testing_support::readFile(python.folder() / nameOf(format)));
    for (const auto& [key, expected] : *same.asDictionary()) {
      const Value* found = value.asDictionary()->find(key);
      ASSERT_TRUE(found) << nameOf(format) << ' ' << key;
      EXPECT_TRUE(isIdentical(*found, expected)) << nameOf(format) << ' ' << key << ": " << *found;
    }
    EXPECT_TRUE(writePropertyList(value, PropertyListFormat::Binary) ==
                writePropertyList(same, PropertyListFormat::Binary))
        << "another order in " << nameOf(format);
  }
}

TEST(PropertyListOracleTest, PythonBringsBackRandomValues) {
  if (!Python::isPresent()) GTEST_SKIP() << "no python3 with plistlib";
  const Python python;
  std::mt19937_64 random(11);
  std::vector<Value> values;
  for (int i = 0; i < 100; ++i) {
    values.push_back(testing_support::randomValue(
        random, {.controlCharacters = false, .fractionalDates = false, .negativeZeros = false}));
    testing_support::writeFile(python.folder() / (std::to_string(i) + ".ours"),
                               writePropertyList(values.back(), PropertyListFormat::Binary));
  }
  ASSERT_EQ(python(R"(
import glob, plistlib
for name in glob.glob('*.ours'):
    with open(name, 'rb') as file:
        value = plistlib.load(file)
    with open(name.replace('ours', 'theirs'), 'wb') as file:
        plistlib.dump(value, file, fmt=plistlib.FMT_BINARY, sort_keys=False)
)"),
            0);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string theirs = testing_support::readFile(python.folder() / (std::to_string(i) + ".theirs"));
    EXPECT_TRUE(isIdentical(readPropertyList(theirs), values[i])) << i;
  }
}

}  // namespace
}  // namespace qorvane
