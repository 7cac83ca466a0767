// What a report looks like as text and as JSON, and the words for codes and values.

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/report.h"
#include "ovkctl/frame/values.h"
#include "ovkctl/subjects/fc_words.h"

#include <array>
#include <optional>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

namespace ovkctl {
namespace {

using testing::ElementsAre;

struct Row {
  std::uint32_t id;
  const char* name;
  std::optional<LargeSize> extra;
};

constexpr Column<Row> row_columns[] = {
    {"id", "ID", field<&Row::id>},
    {"name", "NAME", field<&Row::name>},
    {"extra", "", field<&Row::extra>},
};

Report sample() {
  Report report;
  report.field("counter", "Counter", std::uint64_t{18446744073709551615U})
      .field("small", "Small", std::uint8_t{7})
      .field("hidden", "", std::string{"\xff"});
  Section& section = report.section("memory", "Memory");
  section.field("length", "Length of it", Size{65536})
      .field("name", "Name", std::string())
      .field("wwn", "WWN", Wwn{{0x10, 0, 2, 0, 0x54, 0, 0, 0xab}})
      .field("types", "Types", List{"FCP", "CT"})
      .field("speeds", "Speeds", Speeds{0x1000 | 0x4 | 0x8})
      .field("fc_id", "FC ID", FcAddress{0x10200})
      .field("ready", "Ready", false);
  section.table("rows", "", row_columns,
                std::vector<Row>{{1, "first", {}}, {100, "é", LargeSize{1}}}, "There are no rows.");
  report.element("records", "Record A").dump("raw", "", {0x41, 0x00});
  report.element("records", "Record B").note("Nothing in it.");
  report.section("", "").table("none", "", row_columns, std::vector<Row>{}, "There is none.");
  return report;
}

TEST(ReportTest, TextIsAlignedAndHidesWhatHasNoLabel) {
  EXPECT_EQ(render_text(sample()),
            "Counter         18446744073709551615\n"
            "Small           7\n"
            "\n"
            "Memory\n"
            "  Length of it  64 KiB\n"
            "  Name          -\n"
            "  WWN           10:00:02:00:54:00:00:ab\n"
            "  Types         FCP, CT\n"
            "  Speeds        4 Gbit/s, 10 Gbit/s, 64 Gbit/s\n"
            "  FC ID         0x010200\n"
            "  Ready         no\n"
            "\n"
            "   ID  NAME\n"
            "    1  first\n"
            "  100  é\n"
            "\n"
            "Record A\n"
            "  00000000  41 00                                             |A.|\n"
            "\n"
            "Record B\n"
            "  Nothing in it.\n"
            "\n"
            "There is none.\n");
}

TEST(ReportTest, JsonHasEveryMemberLosesNoDigitsAndStaysUtf8) {
  EXPECT_EQ(render_json(sample(), JsonForm::one_line),
            R"({"version":1,"counter":"18446744073709551615","small":7,"hidden":"�",)"
            R"("memory":{"length":65536,"name":"","wwn":"10:00:02:00:54:00:00:ab",)"
            R"("types":["FCP","CT"],"speeds":[4,10,64],"fc_id":"0x010200","ready":false,)"
            R"("rows":[{"id":1,"name":"first","extra":null},)"
            R"({"id":100,"name":"é","extra":"1"}]},"records":[{"raw":"4100"},{}],"none":[]})"
            "\n");
}

TEST(ReportTest, TwoMembersOfOneNameAreAMistakeOfTheirAuthor) {
  Report fields;
  fields.field("version", "", 1);  // every report has one
  Report sections;
  sections.section("port", "");
  sections.section("port", "");
  for (const Report& report : {fields, sections}) {
    EXPECT_THROW(render_json(report, JsonForm::one_line), std::logic_error);
  }
}

TEST(WordsTest, UnknownCodesKeepTheirNumber) {
  EXPECT_EQ(port_state_text(99), "code 99");
  EXPECT_EQ(Cell{Speed{0x8000}}.text(), "not negotiated");
  EXPECT_EQ(Cell{Speed{3}}.text(), "code 0x3");
  EXPECT_THAT(service_class_list(0x8c), ElementsAre("class 2", "class 3"));
  std::array<std::uint8_t, 32> types{};
  types[31] = 0x80;
  EXPECT_THAT(fc4_type_list(types), ElementsAre("type 0xe7"));
}

TEST(ValuesTest, FixedTextsEndAtTheirFieldAndStayPrintable) {
  EXPECT_EQ(fixed_text(std::array{'a', 'b', 'c'}), "abc");
  EXPECT_EQ(fixed_text(std::array{'a', ' ', '\0', 'c'}), "a");
  EXPECT_EQ(fixed_text(std::array{'\x1b', 'b', '\xe9'}), "?b?");
}

TEST(ValuesTest, HexBytesMayBeSeparatedButNotHalved) {
  HexBytes value;
  parse_value("0a 0B:ff00", value);
  EXPECT_THAT(value.bytes, ElementsAre(0x0a, 0x0b, 0xff, 0x00));
  for (const char* wrong : {"0", "0a b", "0g", "0x01"}) {
    EXPECT_THROW(parse_value(wrong, value), UsageError) << wrong;
  }
}

TEST(ResultTest, OneThatNobodyKnowsIsTheDriversOwn) {
  EXPECT_THAT([] { check(0x8009, "Opening it of board 3"); },
              testing::ThrowsMessage<OperationFailed>(
                  "Opening it of board 3 failed with result 0x8009: the driver gave a result of "
                  "its own."));
}

}  // namespace
}  // namespace ovkctl
