#include "output/event_xml.h"

#include <gtest/gtest.h>

#include <ctime>

#include "output/xml_text.h"
#include "tests/output/streamed.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::Element;
using support::Node;
using support::OptionalSlot;
using support::Slot;
using support::Text;
using support::Value;

std::string Data(std::vector<Node> nodes, std::vector<Value> values = {}) {
  return Between(
      Streamed(EventDataLog(std::move(nodes), std::move(values)), &RunOptions::event_xml_form),
      "<Events>\n<Event xmlns=\"http://schemas.microsoft.com/win/2004/08/events/event\">"
      "<EventData>",
      "</EventData></Event>\n</Events>\n");
}

std::string Typed(const Value& value) {
  return Between(Data({Element("V", {}, {OptionalSlot(0, value.type)})}, {value}), "<V>", "</V>");
}

TEST(EventXml, ValuesLookAsWindowsShowsThem) {
  EXPECT_EQ(Typed(support::GuidValue("54849625-5478-4994-a5ba-3e3b0328c30d")),
            "{54849625-5478-4994-a5ba-3e3b0328c30d}");
  EXPECT_EQ(Typed(support::FileTimeValue(support::Filetime(2012, 3, 7, 14, 5, 9, 1234567))),
            "2012-03-07T14:05:09.1234567Z");
  EXPECT_EQ(Typed(support::SysTimeValue({2012, 3, 3, 7, 14, 5, 9, 7})),
            "2012-03-07T14:05:09.0070000Z");
  EXPECT_EQ(Typed(support::HexInt64Value(0x3e7)), "0x3e7");
  EXPECT_EQ(Typed(support::SizeTValue(4096)), "0x1000");
  EXPECT_EQ(Typed(support::UInt64Value(~std::uint64_t{0})), "18446744073709551615");
  EXPECT_EQ(Typed(support::BooleanValue(true)), "true");
  EXPECT_EQ(Typed(support::BinaryValue(support::Hex("DE AD"))), "DEAD");
  EXPECT_EQ(Typed(support::NullValue()), "");
}

TEST(EventXml, TextsAreEscapedAndHaveNoLineEnds) {
  EXPECT_EQ(Typed(support::StringValue("a<b>&\"'\r\n\tc")),
            "a&lt;b&gt;&amp;&quot;'&#13;&#10;&#9;c");
  EXPECT_EQ(Data({Element("X", {Attribute("k", "\"\r\n<")}, {Text("]]>\n")})}),
            "<X k=\"&quot;&#13;&#10;&lt;\">]]&gt;&#10;</X>");
}

TEST(EventXml, CharactersThatXmlCannotHoldAreReplacedAndCounted) {
  std::string trace;
  const auto log = EventDataLog(
      {Element("V", {}, {Text("\x02"), Slot(0, support::kString)})},
      {support::WideStringValue(std::u16string(u"\x01z\xFFFE\xFFFF\xFFFD") + char16_t{0xD800})});
  const std::string text = Streamed(log, &RunOptions::event_xml_form, &trace);
  const std::string bad = "\xEF\xBF\xBD";
  EXPECT_NE(text.find("<V>" + bad + bad + "z" + bad + bad + bad + bad + "</V>"), std::string::npos)
      << text;
  EXPECT_NE(trace.find("\ncharacters that XML cannot hold: 4\n"), std::string::npos) << trace;
}

TEST(EventXml, WhatXmlCannotHoldIsReplacedBehindEscapesToo) {
  const std::string text = "sixteen & more < characters\r\n\t, \x01 and \xC3\xA4\"> behind";
  EXPECT_EQ(Data({Element("V", {}, {Slot(0, support::kString)})}, {support::StringValue(text)}),
            "<V>sixteen &amp; more &lt; characters&#13;&#10;&#9;, \xEF\xBF\xBD and "
            "\xC3\xA4&quot;&gt; behind</V>");
}

TEST(EventXml, NothingIsSaidOfCharactersWhereAllAreSome) {
  std::string trace;
  Streamed(EventDataLog({Element("V", {}, {Text("z")})}, {}), &RunOptions::event_xml_form, &trace);
  EXPECT_EQ(trace.find("characters"), std::string::npos);
}

TEST(EventXml, AnAttributeWhoseSlotIsLeftOutIsToo) {
  const Node one = Element("A", {Attribute("k", OptionalSlot(0, support::kString)),
                                 Attribute("l", Slot(0, support::kString)),
                                 Attribute("m", {Text("p"), OptionalSlot(0, support::kString)})});
  EXPECT_EQ(Data({one}, {support::NullValue()}), R"(<A l="" m="p"/>)");
  EXPECT_EQ(Data({one}, {support::StringValue("x")}), R"(<A k="x" l="x" m="px"/>)");
}

TEST(EventXml, ContentKeepsItsOrder) {
  EXPECT_EQ(Data({Element("X", {}, {Text("a"), Element("Y", {}, {Text("b")}), Text("c")})}),
            "<X>a<Y>b</Y>c</X>");
}

TEST(EventXml, AnElementStandsForEachValueOfItsArray) {
  EXPECT_EQ(Data({Element("Data", {}, {Slot(0, support::kStringArray)}), Element("E")},
                 {support::StringArrayValue({"a", "", "b"})}),
            "<Data>a</Data><Data></Data><Data>b</Data><E/>");
}

TEST(EventXml, NamesThatAreNoneAreMadeIntoOnesAndTold) {
  EXPECT_EQ(Data({Element("a b", {}, {Text("t")})}), R"(<a_b OriginalName="a b">t</a_b>)");
  EXPECT_EQ(Data({Element("1<", {Attribute("x y", "v")})}),
            R"(<_1_ x_y="v" x_y.OriginalName="x y" OriginalName="1&lt;"/>)");
  EXPECT_EQ(Data({Element("", {Attribute("", "v")})}),
            R"(<_ _="v" _.OriginalName="" OriginalName=""/>)");
}

TEST(EventXml, AnAttributeThatIsThereTwiceIsNumbered) {
  EXPECT_EQ(Data({Element("X", {Attribute("k", "1"), Attribute("k", "2"), Attribute("k_2", "3")})}),
            R"(<X k="1" k_2="3" k_3="2" k_3.OriginalName="k"/>)");
}

// Numbers that are taken are not tried again for each.
TEST(EventXml, AttributesOfOneNameMayBeMany) {
  const std::vector<Node> same(6'500, Attribute("k", ""));
  const std::clock_t began = std::clock();
  const std::string text = Data({Element("X", same)});
  EXPECT_LT(std::clock() - began, 2 * CLOCKS_PER_SEC);
  EXPECT_NE(text.find(" k_6500=\"\" k_6500.OriginalName=\"k\"/>"), text.npos);
}

// All that lies in an element is said again with it.
TEST(EventXml, AnArrayInsideOfAnElementCountsAsOftenAsThatIsRepeated) {
  const std::string line = Streamed(ArrayInsideOfRepeatedLog(), &RunOptions::event_xml_form);
  EXPECT_LT(line.size(), 100'000U);
  EXPECT_NE(line.find("7, 7, 7"), line.npos);
}

TEST(EventXml, APrefixIsKeptOnlyWhereItIsDeclared) {
  EXPECT_EQ(Data({Element("p:X", {Attribute("xmlns:p", "urn:p"), Attribute("p:k", "v")},
                          {Element("p:Y"), Element("q:Y")}),
                  Element("p:X")}),
            R"(<p:X xmlns:p="urn:p" p:k="v"><p:Y/><q_Y OriginalName="q:Y"/></p:X>)"
            R"(<p_X OriginalName="p:X"/>)");
}

TEST(EventXml, DeclarationsThatNoParserTakesAreNone) {
  const std::string text =
      Data({Element("X", {Attribute("xmlns:p", ""), Attribute("xmlns:xml", "urn:x"),
                          Attribute("xmlns:xmlns", "urn:y"),
                          Attribute("xmlns", Slot(0, support::kString))}),
            Element("Y", {Attribute("xmlns", "http://www.w3.org/2000/xmlns/")})},
           {support::StringValue("urn:z")});
  EXPECT_EQ(text.find(" xmlns="), std::string::npos) << text;
  EXPECT_NE(text.find(" _xmlns=\"urn:z\" _xmlns.OriginalName=\"xmlns\""), std::string::npos);
  EXPECT_EQ(text.find(" xmlns:"), std::string::npos) << text;
}

TEST(EventXml, ProcessingInstructionsStay) {
  EXPECT_EQ(Data({Element("X", {},
                          {support::ProcessingTarget("pi"), support::ProcessingData("a?>b\r\n\x01"),
                           Text("t")})}),
            "<X><?pi a? >b  \xEF\xBF\xBD?>t</X>");
  EXPECT_EQ(
      Data({Element("X", {}, {support::ProcessingTarget("xMl"), support::ProcessingData("a")})}),
      "<X><?_xMl a?></X>");
}

TEST(EventXml, NamesOfManyKinds) {
  EXPECT_EQ(XmlName("Event_1.x-y"), "Event_1.x-y");
  EXPECT_EQ(XmlName("\xC3\xA9t\xC3\xA9"), "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(XmlName("a\xE2\x82\xAC"), "a_");
  EXPECT_EQ(XmlName("-a"), "_-a");
  EXPECT_EQ(XmlName("a:b"), "a_b");
  EXPECT_EQ(XmlName("\xF0\x9F\x98\x80"), "_");
}

TEST(EventXml, ALogWithoutRecordsIsWhole) {
  EXPECT_EQ(Streamed(support::EvtxBuilder().AddChunk().Build(), &RunOptions::event_xml_form),
            "<Events>\n</Events>\n");
}

TEST(EventXml, ARecordWithoutAnEventSaysWhatItsHeaderSays) {
  support::EvtxBuilder log;
  log.AddRecord({.id = 7,
                 .time = support::Filetime(2012, 3, 7, 14, 5, 9, 1234567),
                 .body = support::ElementsFragment({})});
  EXPECT_EQ(Streamed(log.Build(), &RunOptions::event_xml_form),
            "<Events>\n<Event xmlns=\"http://schemas.microsoft.com/win/2004/08/events/event\">"
            "<System><TimeCreated SystemTime=\"2012-03-07T14:05:09.1234567Z\"/>"
            "<EventRecordID>7</EventRecordID></System></Event>\n</Events>\n");
}

// Events without a template are laid out as the first of their kind was.
TEST(EventXml, NamespacesOfOneEventAreNotThoseOfTheNext) {
  const std::string kNamespace = " xmlns=\"http://schemas.microsoft.com/win/2004/08/events/event\"";
  support::EvtxBuilder log;
  for (const char* uri : {"urn:a", "urn:b"}) {
    log.AddRecord({.body = support::ElementsFragment({Element(
                       "Event", {Attribute("xmlns:p", uri)}, {Element("p:X", {}, {Text("t")})})})});
  }
  EXPECT_EQ(Streamed(log.Build(), &RunOptions::event_xml_form),
            "<Events>\n"
            "<Event xmlns:p=\"urn:a\"" +
                kNamespace + "><p:X>t</p:X></Event>\n<Event xmlns:p=\"urn:b\"" + kNamespace +
                "><p:X>t</p:X></Event>\n</Events>\n");
}

}  // namespace
}  // namespace tarnlex
