// Regions, persistent link down, FCoE parameters and FCF lists, from one run of ovkctl to the next.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/** Boards 0, 1 and 2 of the built-in host are an SLI-4, an SLI-3 and an FCoE board. */
class RegionsTest : public OvkctlTest {
 protected:
  Outcome change(const std::string& line) const { return run(line + " --yes"); }

  json contents(const std::string& board_and_region) const {
    return json_of("region read " + board_and_region).at("contents");
  }

  /** A region's bytes in hex. */
  std::string bytes(const std::string& board_and_region) const {
    return contents(board_and_region + " --raw").at("bytes");
  }
};

TEST_F(RegionsTest, PersistentLinkDownIsKeptOnEveryKindOfBoard) {
  for (const std::string board : {"0", "1", "2"}) {
    SCOPED_TRACE(board);
    EXPECT_EQ(json_of("linkdown show " + board).at("link_down"), false);
    EXPECT_THAT(change("linkdown on " + board), Exits(0));
    EXPECT_EQ(json_of("linkdown show " + board).at("link_down"), true);
    EXPECT_EQ(contents(board + " 23").at("records")[2].at("meaning"), "the link is kept down");
    EXPECT_THAT(change("linkdown off " + board), Exits(0));
    EXPECT_EQ(json_of("linkdown show " + board).at("link_down"), false);
  }
}

TEST_F(RegionsTest, BytesWrittenToARegionAreThereInTheNextProcessOnEveryKindOfBoard) {
  for (const std::string board : {"0", "1", "2"}) {
    SCOPED_TRACE(board);
    EXPECT_EQ(json_of("region read " + board + " 22").at("state"), "empty");
    EXPECT_THAT(change("region init " + board + " 22"), Exits(0));
    EXPECT_THAT(change("region write " + board + " 22 --offset 24 --hex 0102"), Exits(0));
    const json entries = contents(board + " 22").at("entries");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].at("index"), 1);
    EXPECT_THAT(entries[0].at("bytes").get<std::string>(), testing::StartsWith("01 02 00"));
  }
}

TEST_F(RegionsTest, AWriteShowsWhatChangesAndAsksFirst) {
  const std::string write = "region write 2 14 --hex aa";
  const Outcome refused = run(write);
  EXPECT_THAT(refused, Exits(2, "--yes"));
  EXPECT_THAT(refused.out, HasSubstr("aa 00"));

  EXPECT_EQ(json_of(write + " --dry-run").at("written"), false);
  EXPECT_EQ(json_of("region read 2 14").at("state"), "empty");
  EXPECT_THAT(change("region write 2 14 --offset 1000 --hex aa"), Exits(2));
  EXPECT_THAT(run("region read 2 15"), Exits(2));

  EXPECT_THAT(change(write), Exits(0));
  EXPECT_THAT(run("region read 2 14 -o 14"), Exits(0));
  EXPECT_EQ(contents_of("14"), "\xAA" + std::string(999, '\0'));
}

TEST_F(RegionsTest, AWriteThatGetsLostIsReported) {
  set_faults(R"([
    {"command": "RAVN_MGMT_HBA_ISSUE_UPD_MBX", "status": "0x0BAD0001", "times": "always"}])");
  EXPECT_THAT(change("linkdown on 0"), Exits(1, "reads back differently"));
}

TEST_F(RegionsTest, FcoeParametersAndConnectionsAreKept) {
  EXPECT_THAT(change("fcoe set 2 --vlan 100 --fc-map 0e:fc:01"), Exits(0));
  EXPECT_THAT(change("fcoe set 2 --vlan 4096"), Exits(2));
  EXPECT_THAT(json_of("fcoe show 2"), Holds({{"fc_map", "0x0efc01"}, {"vlan_id", 100}}));
  EXPECT_THAT(run("fcoe show 1"), Exits(1, "the board is no SLI-4 board"));

  EXPECT_THAT(change("fcf connect set 2 0x06,100,1000020000000001,1000020100000001 "
                     "0,7,0000000000000000,0000000000000002"),
              Exits(0));
  const json connections = json_of("fcf connect list 2").at("connections");
  ASSERT_EQ(connections.size(), 2U);
  EXPECT_EQ(connections[0].at("flags"), "0x07");
  EXPECT_EQ(connections[1].at("vlan_id"), 7);
  EXPECT_THAT(change("fcf connect clear 2"), Exits(0));
  EXPECT_THAT(json_of("fcf connect list 2").at("connections"), IsEmpty());
}

TEST_F(RegionsTest, TheFcfTableIsThatOfTheTopology) {
  const json fcfs = json_of("fcf list 2").at("fcfs");
  ASSERT_EQ(fcfs.size(), 3U) << "the one that is not valid is skipped";
  EXPECT_EQ(fcfs[1].at("name548"), "10:00:02:64:54:00:03:02");
  EXPECT_EQ(fcfs[2].at("flag18"), false);
  EXPECT_EQ(fcfs[0].at("block36").get<std::string>().substr(0, 54),
            std::string(24, '0') + "10" + std::string(24, '0') + "0100")
      << "VLANs 100 and 200";
  EXPECT_THAT(json_of("fcf list 0").at("fcfs"), IsEmpty());
}

TEST_F(RegionsTest, SavedRegionsComeBackToTheSameBoardOnly) {
  EXPECT_THAT(change("region init 2 23"), Exits(0));
  EXPECT_THAT(change("region write 2 14 --hex 010203"), Exits(0));
  const std::string before = bytes("2 23");
  EXPECT_THAT(json_of("region save 2 saved").at("regions"), ElementsAre("14", "23"));
  const Outcome piped = run("region save 2 -");
  EXPECT_EQ(piped.out, contents_of("saved")) << "the report does not stand among it";
  EXPECT_THAT(piped.err, HasSubstr("Saved regions"));

  EXPECT_THAT(change("linkdown on 2"), Exits(0));
  EXPECT_NE(bytes("2 23"), before);
  EXPECT_THAT(json_of("region restore 2 saved --yes"),
              Holds({{"restored", {"23"}}, {"unchanged", 1}}));
  EXPECT_EQ(bytes("2 23"), before);

  EXPECT_THAT(change("region restore 0 saved"), Exits(1, "saved from another board"));
  std::string saved = contents_of("saved");
  write("saved", saved.replace(saved.find("010203"), 6, "010204"));
  EXPECT_THAT(change("region restore 2 saved"), Exits(1, "checksum"));
}

}  // namespace
}  // namespace ovk::test
