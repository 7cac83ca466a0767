#include "library/regions/record_list.h"

#include "tests/library/regions/region_script.h"

#include <ovk/core.h>

#include <sys/mman.h>
#include <unistd.h>

namespace ovk::test {
namespace {

/** Puts an image where the process's memory ends: a step beyond it ends the test program. */
std::uint8_t* at_the_edge(const ByteVector& image) {
  static std::uint8_t* const edge = [] {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* pages =
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* end = static_cast<std::uint8_t*>(pages) + page;
    mprotect(end, page, PROT_NONE);
    return end;
  }();
  std::copy_backward(image.begin(), image.end(), edge);
  return edge - image.size();
}

/** The types of as many records as an image has room for. */
const ByteVector full_list(254, 0xa1);

class RecordListTest : public RegionTest {
 protected:
  /** Where a search finds a record or, when there is none, the negative code that it gives. */
  static std::ptrdiff_t search(const ByteVector& bytes, std::uint8_t type) {
    std::uint8_t* const image = at_the_edge(bytes);
    std::uint8_t code = 0xEE;
    void* record = searchRegion23(image, static_cast<std::uint32_t>(bytes.size()), type, &code);
    EXPECT_EQ(record != nullptr, code == 0);
    return record != nullptr ? static_cast<std::uint8_t*>(record) - image : -code;
  }
};

TEST_F(RecordListTest, FindsTheFirstRecordOfATypeBeforeTheEndOfTheList) {
  const ByteVector image = default_region23();
  EXPECT_EQ(search(image, 0xa0), 8) << "first";
  EXPECT_EQ(search(image, 0xa2), 344) << "third";
  EXPECT_EQ(search(image, 0xff), -253) << "the end itself";
  EXPECT_EQ(search(patched(image, {{360, {0xa3}}}), 0xa3), -253) << "behind the end";
  EXPECT_EQ(search(patched(image, {{20, {0xa2}}}), 0xa2), 20) << "the first of two";
}

TEST_F(RecordListTest, AnswersTheFirstThingThatIsWrongWithAnImage) {
  EXPECT_EQ(search({'R', 'G', '2', '2', 2, 0, 0, 0}, 0xa0), -255) << "signature";
  EXPECT_EQ(search({'R', 'G', '2', '3', 2, 0, 0, 0}, 0xa0), -254) << "version";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 1}, 0xa0), -254) << "version, high byte";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 0}, 0xa0), -252) << "no list";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 0, 0xa0}, 0xa0), 8) << "a type alone";
  EXPECT_EQ(search({'R', 'G', '2', '3', 1, 0, 0, 0, 0xa1}, 0xa0), -252) << "without a length";
}

TEST_F(RecordListTest, AListWithoutAnEndIsLeftWhereTheImageEnds) {
  for (const std::size_t size : {9U, 11U, 12U, 16U, 1023U, 1024U}) {
    for (const std::uint8_t words : ByteVector{0, 1, 2, 80, 253, 254, 255}) {
      ByteVector image = region23_of(full_list, words);
      image.resize(size);
      EXPECT_EQ(search(image, 0xa0), -252) << +words << " words, " << size;
    }
  }
  EXPECT_EQ(search(patched(region23_of(full_list, 0), {{1020, {0xa0, 9}}}), 0xa0), 1020);
}

TEST_F(RecordListTest, LogsWhatItFoundAndTheEndOfTheListAsErrors) {
  log_at(OVK_LOG_ERROR);
  search(default_region23(), 0xa2);
  search(default_region23(), 0xa3);
  search(region23_of(full_list, 0), 0xa0);
  LogLevel = ~std::uint32_t{OVK_LOG_ERROR};
  search(default_region23(), 0xa2);
  const LogLine empty{"", ""};
  EXPECT_THAT(log_lines(),
              testing::ElementsAre(LogLine{"searchRegion23", "ERROR: A2 Found"}, empty,
                                   LogLine{"searchRegion23", "ERROR: FF Found"}, empty));
}

}  // namespace
}  // namespace ovk::test
