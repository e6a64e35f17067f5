#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/propertylist/PropertyListSamples.h"

namespace qorvane {
namespace {

std::string xml(const Value& value) { return writePropertyList(value, PropertyListFormat::Xml); }

constexpr std::string_view kProlog =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
)";

std::string documentOf(std::string_view body) { return "<plist>" + std::string(body) + "</plist>"; }
Value readBody(std::string_view body) { return readPropertyList(documentOf(body)); }

std::string refusal(std::string_view document, const PropertyListLimits& limits = {}) {
  try {
    readPropertyList(document, limits);
  } catch (const Exception& exception) {
    return exception.what();
  }
  return "read without a word";
}

std::string refusalOfBody(std::string_view body) { return refusal(documentOf(body)); }

void expectRoundTrip(const Value& value) {
  const Value back = readPropertyList(xml(value));
  EXPECT_TRUE(isIdentical(back, value)) << back << "\n" << value;
}

TEST(XmlPropertyListTest, WritesThisDocument) {
  const Dictionary value{
      {"b <&> é", Text("x\r\n\ty")},
      {"a", Array{Number(1), Number(true), Number(false), Number(0.5), Array{}, Dictionary{}}},
      {"c", Dictionary{{"data", Data("\x01\x02\x03\x04")}, {"date", Date{694224001.75}}}}};
  EXPECT_EQ(xml(value), std::string(kProlog) + R"(<dict>
	<key>b &lt;&amp;&gt; é</key>
	<string>x&#13;
	y</string>
	<key>a</key>
	<array>
		<integer>1</integer>
		<true/>
		<false/>
		<real>0.5</real>
		<array/>
		<dict/>
	</array>
	<key>c</key>
	<dict>
		<key>data</key>
		<data>
		AQIDBA==
		</data>
		<key>date</key>
		<date>2023-01-01T00:00:01Z</date>
	</dict>
</dict>
</plist>
)");
}

TEST(XmlPropertyListTest, BringsBackOneOfEverything) { expectRoundTrip(testing_support::oneOfEverything()); }

TEST(XmlPropertyListTest, BringsBackRandomValues) {
  std::mt19937_64 random(20200430);
  for (int i = 0; i < 300; ++i) {
    const Value value = testing_support::randomValue(
        random,
        {.embeddedNuls = false, .controlCharacters = false, .fractionalDates = false, .nanBits = false});
    const std::string document = xml(value);
    const Value back = readPropertyList(document);
    ASSERT_TRUE(isIdentical(back, value)) << i;
    ASSERT_TRUE(xml(back) == document) << "the order has changed in value " << i;
  }
}

TEST(XmlPropertyListTest, BringsBackEveryIntegerAndReal) {
  for (const Number& number : testing_support::awkwardIntegers()) expectRoundTrip(number);
  for (const double real : testing_support::awkwardReals()) expectRoundTrip(Number(real));
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const auto real = std::bit_cast<double>(random());
    if (!std::isnan(real)) expectRoundTrip(Number(real));
  }
}

TEST(XmlPropertyListTest, WritesRealsInTheirShortestForm) {
  const auto body = [](double real) {
    const std::string document = xml(Number(real));
    return document.substr(kProlog.size(), document.find('\n', kProlog.size()) - kProlog.size());
  };
  EXPECT_EQ(body(0.1), "<real>0.1</real>");
  EXPECT_EQ(body(1), "<real>1</real>");
  EXPECT_EQ(body(-0.0), "<real>-0</real>");
  EXPECT_EQ(body(1e23), "<real>1e+23</real>");
  EXPECT_EQ(body(std::numeric_limits<double>::quiet_NaN()), "<real>nan</real>");
  EXPECT_EQ(body(HUGE_VAL), "<real>+infinity</real>");
  EXPECT_EQ(body(-HUGE_VAL), "<real>-infinity</real>");
}

TEST(XmlPropertyListTest, ReadsTheUsualSpellingsOfReals) {
  struct Case {
    const char* text;
    double real;
  };
  for (const auto& [text, real] : {Case{"1", 1},
                                   {" 1.5\n", 1.5},
                                   {"+2.5", 2.5},
                                   {".5", 0.5},
                                   {"-.5", -0.5},
                                   {"5.", 5},
                                   {"1E3", 1000},
                                   {"1e-3", 0.001},
                                   {"inf", HUGE_VAL},
                                   {"-Inf", -HUGE_VAL},
                                   {"Infinity", HUGE_VAL},
                                   {"+INFINITY", HUGE_VAL},
                                   {"1e999", HUGE_VAL},
                                   {"-1e999", -HUGE_VAL},
                                   {"1e-999", 0.0},
                                   {"-1e-999", -0.0}}) {
    const std::string element = "<real>" + std::string(text) + "</real>";
    EXPECT_TRUE(isIdentical(readBody(element), Number(real))) << text << ": " << readBody(element);
  }
  for (const char* text : {"nan", "NaN", "+nan"})
    EXPECT_TRUE(std::isnan(readBody("<real>" + std::string(text) + "</real>").doubleValue())) << text;
  for (const char* text :
       {"", " ", "x", "1,5", "1 5", "1e", "0x10", "--1", "+-1", ".", "1.5x", "infinit", "e5", "-"})
    EXPECT_EQ(refusalOfBody("<real>" + std::string(text) + "</real>"),
              "bad XML property list at line 1, column 8: <real> holds no number")
        << text;
}

TEST(XmlPropertyListTest, ReadsIntegers) {
  struct Case {
    const char* text;
    Number number;
  };
  for (const auto& [text, number] : {Case{"0", 0},
                                     {" 12\n", 12},
                                     {"+7", 7},
                                     {"-7", -7},
                                     {"-0", 0},
                                     {"007", 7},
                                     {"0x1F", 31},
                                     {"0Xff", 255},
                                     {"-0x10", -16},
                                     {"0xFFFFFFFFFFFFFFFF", std::numeric_limits<std::uint64_t>::max()},
                                     {"18446744073709551615", std::numeric_limits<std::uint64_t>::max()},
                                     {"9223372036854775808", std::uint64_t{1} << 63},
                                     {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()}}) {
    const std::string element = "<integer>" + std::string(text) + "</integer>";
    EXPECT_TRUE(isIdentical(readBody(element), number)) << text << ": " << readBody(element);
  }
  for (const char* text : {"18446744073709551616", "-9223372036854775809", "0x10000000000000000"})
    EXPECT_EQ(refusalOfBody("<integer>" + std::string(text) + "</integer>"),
              "bad XML property list at line 1, column 8: the integer is beyond 64 bits");
  for (const char* text : {"", " ", "x", "1.0", "1 2", "0x", "--1", "- 1", "1e3", "12a"})
    EXPECT_EQ(refusalOfBody("<integer>" + std::string(text) + "</integer>"),
              "bad XML property list at line 1, column 8: <integer> holds no integer")
        << text;
}

TEST(XmlPropertyListTest, ReadsTexts) {
  const auto text = [](std::string_view content) {
    return readBody("<string>" + std::string(content) + "</string>");
  };
  EXPECT_EQ(text(" two  blanks "), Value(Text(" two  blanks ")));
  EXPECT_EQ(text("&lt;&gt;&amp;&quot;&apos;"), Value(Text("<>&\"'")));
  EXPECT_EQ(text("&#233;&#xe9;&#x1F341;&#13;&#0000065;"), Value(Text("éé\U0001F341\rA")));
  EXPECT_EQ(text("a\r\nb\rc\n"), Value(Text("a\nb\nc\n"))) << "line ends of other systems";
  EXPECT_EQ(text("a<!-- no - text -->b<?nor this?>c"), Value(Text("abc")));
  EXPECT_EQ(text("<![CDATA[<a> &amp; ]] >\r\n]]>&amp;"), Value(Text("<a> &amp; ]] >\n&")));
  EXPECT_EQ(text("<![CDATA[]]>"), Value(Text("")));
  EXPECT_EQ(readBody("<string/>"), Value(Text("")));
  EXPECT_EQ(readBody("<string />"), Value(Text("")));
  EXPECT_EQ(readBody("<string></string >"), Value(Text("")));
}

TEST(XmlPropertyListTest, ReadsData) {
  const auto data = [](std::string_view content) {
    return readBody("<data>" + std::string(content) + "</data>");
  };
  EXPECT_EQ(data(""), Value(Data()));
  EXPECT_EQ(data(" \n "), Value(Data()));
  EXPECT_EQ(data("AA=="), Value(Data(std::string(1, '\0'))));
  EXPECT_EQ(data("\n\tAA\r\n=\t=\n"), Value(Data(std::string(1, '\0'))));
  EXPECT_EQ(data("+/+/"), Value(Data("\xFB\xFF\xBF")));
  EXPECT_EQ(data("YWI="), Value(Data("ab")));
  EXPECT_EQ(readBody("<data/>"), Value(Data()));
  for (const char* bad : {"A", "AA", "AAA", "AA=", "A===", "AAAA=", "====", "AA==AA==", "AAA=A"})
    EXPECT_NE(refusalOfBody("<data>" + std::string(bad) + "</data>").find("<data> "), std::string::npos)
        << bad;
  EXPECT_EQ(refusalOfBody("<data>AA*A</data>"),
            "bad XML property list at line 1, column 8: <data> holds a character that is not base64");
  EXPECT_EQ(refusalOfBody("<data>AAA</data>"),
            "bad XML property list at line 1, column 8: <data> ends within a group of base64");
  for (std::size_t length = 0; length < 200; ++length) expectRoundTrip(Data(std::string(length, '\xC3')));
}

TEST(XmlPropertyListTest, ReadsDates) {
  const auto date = [](std::string_view content) {
    return readBody("<date>" + std::string(content) + "</date>");
  };
  EXPECT_TRUE(isIdentical(date("2001-01-01T00:00:00Z"), Date{0}));
  EXPECT_TRUE(isIdentical(date(" 2000-02-29T23:59:59Z "), Date{-26438401.0}));
  EXPECT_TRUE(isIdentical(date("1970-01-01T00:00:00Z"), Date{-978307200}));
  EXPECT_TRUE(isIdentical(date("0001-01-01T00:00:00Z"), Date{-63113904000.0}));
  EXPECT_TRUE(isIdentical(date("9999-12-31T23:59:59Z"), Date{252423993599.0}));
  for (const char* bad : {"", "2001-01-01", "2001-01-01T00:00:00", "2001-01-01 00:00:00Z",
                          "2001-1-1T00:00:00Z", "2001-01-01T00:00:00.5Z", "2001-01-01T00:00:00+00:00"})
    EXPECT_NE(refusalOfBody("<date>" + std::string(bad) + "</date>").find("no date of the form"),
              std::string::npos)
        << bad;
  for (const char* bad :
       {"2001-02-29T00:00:00Z", "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z", "2001-01-00T00:00:00Z",
        "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z", "2001-01-01T00:00:60Z", "0000-01-01T00:00:00Z"})
    EXPECT_NE(refusalOfBody("<date>" + std::string(bad) + "</date>").find("a date that does not exist"),
              std::string::npos)
        << bad;
}

TEST(XmlPropertyListTest, MovesAFractionOfASecondToTheWholeSecondBefore) {
  const auto back = [](double seconds) {
    return readPropertyList(xml(Date{seconds})).asDate()->secondsSince2001;
  };
  EXPECT_EQ(back(10.999), 10);
  EXPECT_EQ(back(0.5), 0);
  EXPECT_EQ(back(-0.5), -1);
  EXPECT_EQ(back(252423993599.9), 252423993599.0);
}

TEST(XmlPropertyListTest, ReadsWhatStandsBetweenTheElements) {
  const Value value = Dictionary{{"a", Number(true)}};
  EXPECT_EQ(readPropertyList(
                "\xEF\xBB\xBF \n<?xml-style?><!-- <plist> --><plist version='1.0' \n x=\"a>b\"><!---->\n"
                "<dict>\t<key>a</key><?x?><true></true></dict >\r\n</plist>\n<!-- end -->\n"),
            value);
  EXPECT_EQ(
      readPropertyList("<!DOCTYPE plist SYSTEM \"a>b[\"><plist><dict><key>a</key><true/></dict></plist>"),
      value);
  EXPECT_EQ(readPropertyList("<?xml version='1.0' encoding='utf-8' standalone=\"yes\"?>"
                             "<plist><dict><key>a</key><true> </true></dict></plist>"),
            value);
}

TEST(XmlPropertyListTest, ReadsUtf16WithAByteOrderMark) {
  const std::u16string document =
      u"\uFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><string>é\U0001F341</string></plist>";
  std::string big;
  std::string little;
  for (const char16_t unit : document) {
    big += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
    little += {static_cast<char>(unit), static_cast<char>(unit >> 8)};
  }
  EXPECT_EQ(readPropertyList(big), Value(Text("é\U0001F341")));
  EXPECT_EQ(readPropertyList(little), Value(Text("é\U0001F341")));
  EXPECT_EQ(refusal(big + "x"), "bad XML property list: half a UTF-16 unit at its end");
  for (const char* name : {"UTF-16", "utf-16le", "UTF-16BE", "UTF-8"}) {
    std::string said;
    for (const char c :
         "\xFE\xFF" + ("<?xml version='1.0' encoding='" + std::string(name)) + "'?><plist><true/></plist>") {
      if (said.size() >= 2) said += '\0';
      said += c;
    }
    if (std::string(name) == "UTF-8")
      EXPECT_NE(refusal(said).find("is not supported"), std::string::npos);
    else
      EXPECT_EQ(readPropertyList(said), Value(Number(true))) << name;
  }
  for (const char* name : {"utf-8", "US-ASCII", "ascii"})
    EXPECT_EQ(
        readPropertyList("<?xml version='1.0' encoding='" + std::string(name) + "'?><plist><true/></plist>"),
        Value(Number(true)));
  // Said but not so.
  EXPECT_EQ(refusal("<?xml version='1.0' encoding='UTF-16'?><plist><true/></plist>"),
            "bad XML property list at line 1, column 1: the encoding is not supported, UTF-8 is");
  EXPECT_EQ(refusal("<?xml version='1.0' encoding=\"ISO-8859-1\"?><plist><true/></plist>"),
            "bad XML property list at line 1, column 1: the encoding is not supported, UTF-8 is");
}

TEST(XmlPropertyListTest, ReadsTheLastOfTwoValuesUnderOneKey) {
  const Value value = readBody("<dict><key>a</key><true/><key>b</key><true/><key>a</key><false/></dict>");
  EXPECT_EQ(xml(value), xml(Dictionary{{"a", Number(false)}, {"b", Number(true)}}));
}

TEST(XmlPropertyListTest, SaysWhatIsWrongAndWhere) {
  struct Case {
    const char* document;
    const char* why;
  };
  const Case cases[] = {
      {"<plist>\n<dict>\n  <é/>", "line 3, column 3: <…> where a <key> should be"},
      {"<plist><array>\n\n é <x/>", "line 3, column 2: there is text in <array>"},
      {"<plist>\n<string>é&nbsp;", "line 2, column 1: <string> does not end"},
      {"<plist>\n<string>é&nbsp;</string>", "line 2, column 10: an entity that XML itself does not have"},
      {"<plist><string>&amp</string></plist>", "line 1, column 16: a '&' that begins no reference"},
      {"<plist><string>&#0;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#xD800;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#x110000;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#99999999999;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#x;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#xFFFF;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#-5;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#12x;</string></plist>", "line 1, column 16: a reference to no character"},
      {"<plist><string>&#xE000;&#xFFFE;</string></plist>", "line 1, column 24: a reference to no character"},
      {"<plist>\uFFFF</plist>", "line 1, column 8: a character that XML forbids"},
      {"<plist><real>.x</real></plist>", "line 1, column 8: <real> holds no number"},
      {"<plist><_a/></plist>", "line 1, column 8: <…> is no element of a property list"},
      {"<plist>\xFF</plist>", "line 1, column 8: the bytes are no UTF-8"},
      {"<plist>\x01</plist>", "line 1, column 8: a control character"},
      {"<plist>\uFFFE</plist>", "line 1, column 8: a character that XML forbids"},
      {"<plist>", "line 1, column 1: <plist> does not end"},
      {"<plist></plist>", "line 1, column 1: <plist> holds no value"},
      {"<plist/>", "line 1, column 1: <plist> holds no value"},
      {"<plist>x</plist>", "line 1, column 8: there is text in <plist>"},
      {"<plist><true/><false/></plist>", "line 1, column 15: there is a second value in <plist>"},
      {"<plist><true/></plist>x", "line 1, column 23: something follows the end of the document"},
      {"<plist><true/></plist><plist/>", "line 1, column 23: something follows the end of the document"},
      {"<plist><true/>", "line 1, column 1: <plist> does not end"},
      {"<plist><true/></dict>", "line 1, column 15: </dict> where <plist> ends"},
      {"<plist><true>1</true></plist>", "line 1, column 8: <true> is not empty"},
      {"<plist><key>a</key></plist>", "line 1, column 8: a <key> where a value should be"},
      {"<plist><ustring>a</ustring></plist>", "line 1, column 8: <…> is no element of a property list"},
      {"<plist><dict><key>a</key></dict></plist>", "line 1, column 14: a <key> has no value"},
      {"<plist><dict><key>a</key><key>b</key></dict></plist>",
       "line 1, column 26: a <key> where a value should be"},
      {"<plist><dict><true/></dict></plist>", "line 1, column 14: <true> where a <key> should be"},
      {"<plist><dict></array></plist>", "line 1, column 14: </array> where <dict> ends"},
      {"<plist><array><string>a</array></plist>", "line 1, column 24: </array> where <string> ends"},
      {"<plist><string>a<b>c</b></string></plist>", "line 1, column 17: a tag in <string>"},
      {"<plist><string>a<![CDATA[c</string></plist>", "line 1, column 17: a CDATA section does not end"},
      {"<plist><!-- </plist>", "line 1, column 8: a comment does not end"},
      {"<plist><?x </plist>", "line 1, column 8: a processing instruction does not end"},
      {"<?xml version='1.0'", "line 1, column 1: the XML declaration does not end"},
      {"<?xml encoding=?><plist/>", "line 1, column 1: the XML declaration's encoding has no value"},
      {"<dict/>", "line 1, column 1: the document is no <plist>"},
      {"<", "line 1, column 1: a '<' that begins no tag"},
      {"<!-- -->", "line 1, column 9: there is no element"},
      {"<plist", "line 1, column 1: a tag does not end"},
      {"<plist version>", "line 1, column 8: an attribute has no value"},
      {"<plist version=1.0>", "line 1, column 8: an attribute's value is not quoted"},
      {"<plist version='1.0>", "line 1, column 8: an attribute's value does not end"},
      {"<plist version='<'>", "line 1, column 8: a '<' in an attribute's value"},
      {"<plist$>", "line 1, column 7: a character that may not stand in a tag"},
      {"<plist><true/></plist x='1'>", "line 1, column 23: a character that may not stand in a tag"},
      {"<!DOCTYPE plist", "line 1, column 1: the document type does not end"},
      {"<!DOCTYPE plist \"", "line 1, column 17: a quotation does not end"},
      {"<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><string>&a;</string></plist>",
       "line 1, column 17: declarations in the document type are not supported"},
  };
  for (const auto& [document, why] : cases)
    EXPECT_EQ(refusal(document), "bad XML property list at " + std::string(why)) << document;
}

TEST(XmlPropertyListTest, IsRecognisedByItsBeginning) {
  EXPECT_EQ(formatOf("bplist00"), PropertyListFormat::Binary);
  EXPECT_EQ(formatOf("<plist>"), PropertyListFormat::Xml);
  EXPECT_EQ(formatOf(" \r\n\t<?xml"), PropertyListFormat::Xml);
  EXPECT_EQ(formatOf("\xEF\xBB\xBF"), PropertyListFormat::Xml);
  EXPECT_EQ(refusal(""), "no property list: there are no bytes");
  EXPECT_EQ(refusal("{ a = b; }"),
            "no property list: the bytes begin neither like a binary nor like an XML one");
  EXPECT_EQ(refusal("  "), "no property list: the bytes begin neither like a binary nor like an XML one");
}

// ---- hostile documents -------------------------------------------------------------------------------

std::string nestedArrays(std::size_t depth) {
  std::string body;
  for (std::size_t i = 0; i < depth; ++i) body += "<array>";
  for (std::size_t i = 0; i < depth; ++i) body += "</array>";
  return documentOf(body);
}

TEST(XmlPropertyListTest, NestsAsDeepAsTheLimit) {
  EXPECT_NO_THROW(readPropertyList(nestedArrays(512)));
  EXPECT_EQ(refusal(nestedArrays(513)),
            "bad XML property list at line 1, column 3592: containers are nested too deep");
  EXPECT_NO_THROW(readPropertyList(nestedArrays(3), {.depth = 3}));
  EXPECT_EQ(refusal(nestedArrays(3), {.depth = 2}),
            "bad XML property list at line 1, column 22: containers are nested too deep");
  EXPECT_NE(refusal(nestedArrays(1'000'000)).find("containers are nested too deep"), std::string::npos);
  EXPECT_NE(refusal(documentOf("<dict><key>a</key><dict/></dict>"), {.depth = 1}).find("nested too deep"),
            std::string::npos);
}

TEST(XmlPropertyListTest, CountsObjectsExactly) {
  const std::string document = documentOf("<array><true/><dict><key>a</key><string/></dict></array>");
  EXPECT_NO_THROW(readPropertyList(document, {.objects = 5}));
  EXPECT_EQ(refusal(document, {.objects = 4}),
            "bad XML property list at line 1, column 40: there are too many objects");
}

TEST(XmlPropertyListTest, RefusesMoreBytesThanTheLimit) {
  EXPECT_EQ(refusal("<plist><true/></plist>", {.size = 21}),
            "the property list is too large: 22 bytes, where 21 are allowed");
}

TEST(XmlPropertyListTest, AnswersOrRefusesEveryTruncation) {
  const std::string document = xml(testing_support::settingsLikeValue());
  const std::size_t end = document.find_last_not_of('\n') + 1;
  for (std::size_t length = 0; length < end; length += 1 + length / 500)
    EXPECT_THROW(readPropertyList(std::string(document.substr(0, length))), Exception) << length;
  for (std::size_t length = end - 200; length < end; ++length)
    EXPECT_THROW(readPropertyList(std::string(document.substr(0, length))), Exception) << length;
}

TEST(XmlPropertyListTest, AnswersOrRefusesEveryFlippedBit) {
  const Dictionary sample{{"text & é", Text("a<c")},
                          {"numbers", Array{Number(1), Number(-1), Number(1.5), Number(true)}},
                          {"rest", Dictionary{{"data", Data("xyz")}, {"date", Date{5}}}}};
  const std::string document = xml(sample);
  int readable = 0;
  for (std::size_t bit = 0; bit < document.size() * 8; ++bit) {
    std::string changed = document;
    changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
    try {
      const Value value = readPropertyList(changed);
      EXPECT_TRUE(isIdentical(readPropertyList(xml(value)), value)) << bit;
      ++readable;
    } catch (const Exception&) {
    }
  }
  EXPECT_GT(readable, 100) << "a flipped bit of a text or a number leaves a well-formed document";
}

// ---- what cannot be written --------------------------------------------------------------------------

std::string writeRefusal(const Value& value) {
  try {
    xml(value);
  } catch (const Exception& exception) {
    return exception.what();
  }
  return "written without a word";
}

TEST(XmlPropertyListTest, RefusesWhatItCannotHoldAndSaysWhere) {
  const auto at = [](std::string_view what) {
    return "no property list can be written: " + std::string(what);
  };
  EXPECT_EQ(writeRefusal(Value()), at("there is nothing (nil) at the top"));
  EXPECT_EQ(writeRefusal(Dictionary{{"a", Array{Text("x"), Dictionary{{"b", Array{Value()}}}}}}),
            at("there is nothing (nil) at \"a[1].b[0]\""));
  EXPECT_EQ(writeRefusal(Dictionary{{"a", Array{Text("x"), Text("\x1B")}}}),
            at("XML cannot hold control characters at \"a[1]\""));
  EXPECT_EQ(writeRefusal(Text(std::string(1, '\0'))), at("XML cannot hold control characters at the top"));
  EXPECT_EQ(writeRefusal(Dictionary{{"bell", Dictionary{{"\a", Number(1)}}}}),
            at("XML cannot hold control characters at \"bell.\a\""));
  EXPECT_EQ(writeRefusal(Text("\uFFFE")), at("XML cannot hold the characters U+FFFE and U+FFFF at the top"));
  EXPECT_EQ(writeRefusal(Text("\uFFFF")), at("XML cannot hold the characters U+FFFE and U+FFFF at the top"));
  for (const double seconds : {-63113904000.5, 252423993600.0, 1e300, HUGE_VAL, -HUGE_VAL, std::nan("")})
    EXPECT_EQ(writeRefusal(Dictionary{{"d", Date{seconds}}}),
              at("XML cannot hold a date outside the years 1 to 9999 at \"d\""))
        << seconds;
  expectRoundTrip(Text("\uFFFD\uF000\uFFFC"));
}

TEST(XmlPropertyListTest, RefusesToWriteWhatItWouldNotRead) {
  Value deep = Array{};
  for (int i = 1; i < 512; ++i) deep = Array{std::move(deep)};
  expectRoundTrip(deep);
  EXPECT_NE(writeRefusal(Array{deep}).find("the value is nested too deep"), std::string::npos);
  const Data large(std::string((std::size_t{1} << 28) + 1, 'x'));
  EXPECT_EQ(writeRefusal(Array{large}), "no property list can be written: it would be too large");
}

}  // namespace
}  // namespace qorvane
