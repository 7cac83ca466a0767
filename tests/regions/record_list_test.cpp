#include "regions/record_list.h"

#include "tests/regions/region_script.h"

#include <ovk/core.h>

#include <random>
#include <sys/mman.h>
#include <unistd.h>

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

struct Search {
  const char* what;
  ByteVector image;
  std::uint8_t type;
  std::uint8_t code;
  std::size_t found_at = 0;
};

class RecordListTest : public RegionTest {
 protected:
  static void expect_search(const Search& search) {
    SCOPED_TRACE(search.what);
    const ImageAtTheEdge image{search.image};
    std::uint8_t code = 0xEE;
    const void* record = searchRegion23(
        image.begin, static_cast<std::uint32_t>(search.image.size()), search.type, &code);
    EXPECT_EQ(code, search.code);
    EXPECT_EQ(record, search.code == 0 ? image.begin + search.found_at : nullptr);
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
  expect_search({"first", image, 0xa0, 0, fcoe_at});
  expect_search({"second", image, 0xa1, 0, connections_at});
  expect_search({"third", image, 0xa2, 0, link_at});
  expect_search({"absent", image, 0xa3, 253});
  expect_search({"the end itself", image, 0xff, 253});
  expect_search({"behind the end", patched(image, {{360, {0xa3}}}), 0xa3, 253});
  expect_search({"the first of two", patched(image, {{connections_at, {0xa2}}}), 0xa2, 0, 20});
}

TEST_F(RecordListTest, AnswersTheFirstThingThatIsWrongWithAnImage) {
  const auto image = [](std::string_view signature, std::uint8_t version, std::size_t size) {
    ByteVector bytes(size);
    std::ranges::copy(signature, bytes.begin());
    bytes[4] = version;
    return bytes;
  };
  expect_search({"signature", image("RG22", 2, 8), 0xa0, 255});
  expect_search({"version", image("RG23", 2, 8), 0xa0, 254});
  expect_search({"version, high byte", patched(image("RG23", 1, 64), {{7, {1}}}), 0xa0, 254});
  expect_search({"no list", image("RG23", 1, 8), 0xa0, 252});
  expect_search({"a list of one byte", patched(image("RG23", 1, 9), {{8, {0xff}}}), 0xa0, 253});
  expect_search({"a record of one byte", patched(image("RG23", 1, 9), {{8, {0xa0}}}), 0xa0, 0, 8});
  expect_search({"not even a length", patched(image("RG23", 1, 9), {{8, {0xa1}}}), 0xa0, 252});
}

TEST_F(RecordListTest, AListWithoutAnEndIsLeftWhereTheImageEnds) {
  for (const std::size_t size :
       {std::size_t{12}, std::size_t{16}, std::size_t{1023}, region23_size}) {
    SCOPED_TRACE(size);
    for (const int words : {0, 1, 2, 80, 253, 254, 255}) {
      expect_search(
          {"no such record", repeated(0xa1, static_cast<std::uint8_t>(words), size), 0xa0, 252});
    }
  }
  expect_search(
      {"the last record", patched(repeated(0xa1, 0, 1024), {{1020, {0xa0, 9}}}), 0xa0, 0, 1020});
  expect_search({"a record behind the image's end", repeated(0xa1, 1, 20), 0xa0, 252});
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
    const ImageAtTheEdge image{bytes};
    std::uint8_t code = 0xEE;
    const auto* record = searchRegion23(image.begin, static_cast<std::uint32_t>(bytes.size()),
                                        static_cast<std::uint8_t>(byte(random)), &code);
    const void* begin = image.begin + 8;
    const void* end = image.begin + bytes.size();
    ASSERT_EQ(record != nullptr, code == 0);
    ASSERT_TRUE(record == nullptr || (record >= begin && record < end));
  }
}

TEST_F(RecordListTest, LogsWhatItFoundAndTheEndOfTheListAsErrors) {
  log_at(0x4);
  expect_search({"found", default_region23(), 0xa2, 0, link_at});
  expect_search({"absent", default_region23(), 0xa3, 253});
  expect_search({"runs out", repeated(0xa1, 0, 1024), 0xa0, 252});
  EXPECT_EQ(log_lines(), (std::vector<LogLine>{{"searchRegion23", "ERROR: A2 Found"},
                                               {"", ""},
                                               {"searchRegion23", "ERROR: FF Found"},
                                               {"", ""}}));
  LogLevel = 0xB;
  expect_search({"found", default_region23(), 0xa2, 0, link_at});
  EXPECT_EQ(log_lines().size(), 4U);
}

}  // namespace
}  // namespace ovk::test
