// Notes go in as bytes and come out as texts; the ring forgets the oldest.
#include "FlashNote/Ring.h"

#include <gtest/gtest.h>

namespace {

std::vector<std::string> texts(FlashNote::Ring const& ring) {
  std::vector<std::string> texts;
  for (FlashNote::Note const& note : ring.notes()) texts.push_back(note.text);
  return texts;
}

void noteAbout(int count, std::uint16_t unit) {
  FLASH_NOTE(" Restored {} entries, unitId: {}", "is", count, unit);
}

TEST(RingTest, readsOutTextsInOrderAndKeepsOneIdForACallSite) {
  FlashNote::Ring ring(4);
  FlashNote::Ring::defaultRingIs(&ring);
  noteAbout(-3, 7);
  noteAbout(4, 65535);
  FLASH_NOTE("plain", "");
  FLASH_NOTE("name {}, big {}", "si", std::string("Ethernet0"), std::int64_t{1} << 40);
  EXPECT_EQ(texts(ring),
            (std::vector<std::string>{" Restored -3 entries, unitId: 7", " Restored 4 entries, unitId: 65535",
                                      "plain", "name Ethernet0, big 1099511627776"}));
  auto const notes = ring.notes();
  EXPECT_EQ(notes[0].messageId, notes[1].messageId);
  EXPECT_NE(notes[1].messageId, notes[2].messageId);
  noteAbout(9, 9);
  EXPECT_EQ(texts(ring).front(), " Restored 4 entries, unitId: 65535");
  EXPECT_EQ(texts(ring).back(), " Restored 9 entries, unitId: 9");
  EXPECT_EQ(ring.notes().back().sequence, 5U);
}

TEST(RingTest, whatDoesNotFitIsCutAndNothingBehindItIsMisread) {
  FlashNote::Ring ring(1);
  FlashNote::Ring::defaultRingIs(&ring);
  std::string const half(50, 'a'), most(60, 'b');
  FLASH_NOTE("{}|{}|{}|{}", "ssis", half, most, 5, "c");
  EXPECT_EQ(texts(ring)[0], half + "|" + std::string(52, 'b') + "|...|...");
  FLASH_NOTE("{}|{}|{:x}", "ssi", half, most, 5);
  EXPECT_EQ(texts(ring)[0], "{}|{}|{:x}") << "a number that was cut cannot be shown as one";
}

TEST(RingTest, withoutADefaultRingNothingIsEvaluated) {
  FlashNote::Ring::defaultRingIs(std::make_unique<FlashNote::Ring>(1).get());  // the ring goes at once
  int evaluated = 0;
  FLASH_NOTE("x {}", "i", ++evaluated);
  EXPECT_EQ(evaluated, 0);
}

}  // namespace
