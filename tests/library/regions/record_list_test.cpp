#include "library/regions/record_list.h"

#include "tests/library/regions/region_script.h"

#include <ovk/core.h>

#include <random>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace ovk::test {
namespace {

/** An image that ends where the process's memory does: a step beyond it ends the test program. */
class ImageAtTheEdge {
 public:
  explicit ImageAtTheEdge(const ByteVector& image)
      : page_{static_cast<std::size_t>(sysconf(_SC_PAGESIZE))},
        pages_{static_cast<std::uint8_t*>(
            mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))} {
    mprotect(pages_ + page_, page_, PROT_NONE);
    begin = pages_ + page_ - image.size();
    std::ranges::copy(image, begin);
  }
  ~ImageAtTheEdge() { munmap(pages_, 2 * page_); }
  ImageAtTheEdge(const ImageAtTheEdge&) = delete;
  ImageAtTheEdge& operator=(const ImageAtTheEdge&) = delete;

  std::uint8_t* begin;

 private:
  std::size_t page_;
  std::uint8_t* pages_;
};

class RecordListTest : public RegionTest {
 protected:
  /** What a search gives: its code, and where the record is; nowhere is -1. */
  using Found = std::pair<int, std::ptrdiff_t>;
  static Found record_at(std::size_t place) { return {0, place}; }
  static Found none(int code) { return {code, -1}; }

  static Found search(const ByteVector& bytes, std::uint8_t type) {
    const ImageAtTheEdge image{bytes};
    std::uint8_t code = 0xEE;
    void* record =
        searchRegion23(image.begin, static_cast<std::uint32_t>(bytes.size()), type, &code);
    return {code, record != nullptr ? static_cast<std::uint8_t*>(record) - image.begin : -1};
  }

  /** The start of an image whose records are all of one type and length. */
  static ByteVector repeated(std::uint8_t type, std::uint8_t words, std::size_t size) {
    ByteVector image = bare_region23();
    for (std::size_t at = 8; at + 1 < image.size(); at += 4 + words * 4U) {
      image[at] = type;
      image[at + 1] = words;
    }
    image.resize(size);
    return image;
  }
};

TEST_F(RecordListTest, FindsTheFirstRecordOfATypeBeforeTheEndOfTheList) {
  const ByteVector image = default_region23();
  EXPECT_EQ(search(image, 0xa0), record_at(fcoe_at)) << "first";
  EXPECT_EQ(search(image, 0xa1), record_at(connections_at)) << "second";
  EXPECT_EQ(search(image, 0xa2), record_at(link_at)) << "third";
  EXPECT_EQ(search(image, 0xa3), none(253)) << "absent";
  EXPECT_EQ(search(image, 0xff), none(253)) << "the end itself";
  EXPECT_EQ(search(patched(image, {{360, {0xa3}}}), 0xa3), none(253)) << "behind the end";
  EXPECT_EQ(search(patched(image, {{connections_at, {0xa2}}}), 0xa2), record_at(20))
      << "the first of two";
}

TEST_F(RecordListTest, AnswersTheFirstThingThatIsWrongWithAnImage) {
  EXPECT_EQ(search({'R', 'G', '2', '2', 2, 0, 0, 0}, 0xa0), none(255)) << "signature";
  EXPECT_EQ(search({'R', 'G', '2', '3', 2, 0, 0, 0}, 0xa0), none(254)) << "version";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 1}, 0xa0), none(254)) << "version, high byte";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 0}, 0xa0), none(252)) << "no list";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 0, 0xff}, 0xa0), none(253)) << "an end alone";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 0, 0xa0}, 0xa0), record_at(8)) << "a type alone";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 0, 0xa1}, 0xa0), none(252)) << "without a length";
}

TEST_F(RecordListTest, AListWithoutAnEndIsLeftWhereTheImageEnds) {
  for (const std::size_t size : {12U, 16U, 1023U, 1024U}) {
    for (const int words : {0, 1, 2, 80, 253, 254, 255}) {
      EXPECT_EQ(search(repeated(0xa1, static_cast<std::uint8_t>(words), size), 0xa0), none(252))
          << words << " words, " << size;
    }
  }
  EXPECT_EQ(search(patched(repeated(0xa1, 0, 1024), {{1020, {0xa0, 9}}}), 0xa0), record_at(1020))
      << "the last record";
  EXPECT_EQ(search(repeated(0xa1, 1, 20), 0xa0), none(252)) << "a record behind the image's end";
}

TEST_F(RecordListTest, ArbitraryListsNeverLeadOutOfTheImage) {
  std::mt19937 random{23};
  std::uniform_int_distribution<int> byte{0, 255};
  for (int round = 0; round < 2000; ++round) {
    ByteVector bytes = bare_region23();
    bytes.resize(8 + random() % 1017);
    for (std::size_t i = 8; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(byte(random) % (round % 255 + 1));
    }
    const auto& [code, at] = search(bytes, static_cast<std::uint8_t>(byte(random)));
    ASSERT_EQ(at != -1, code == 0);
    ASSERT_TRUE(at == -1 || (at >= 8 && at < static_cast<std::ptrdiff_t>(bytes.size())));
  }
}

TEST_F(RecordListTest, LogsWhatItFoundAndTheEndOfTheListAsErrors) {
  log_at(0x4);
  EXPECT_EQ(search(default_region23(), 0xa2), record_at(link_at));
  EXPECT_EQ(search(default_region23(), 0xa3), none(253));
  EXPECT_EQ(search(repeated(0xa1, 0, 1024), 0xa0), none(252));
  EXPECT_EQ(log_lines(), (std::vector<LogLine>{{"searchRegion23", "ERROR: A2 Found"},
                                               {"", ""},
                                               {"searchRegion23", "ERROR: FF Found"},
                                               {"", ""}}));
  LogLevel = 0xB;
  EXPECT_EQ(search(default_region23(), 0xa2), record_at(link_at));
  EXPECT_EQ(log_lines().size(), 4U);
}

}  // namespace
}  // namespace ovk::test
