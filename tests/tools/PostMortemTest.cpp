// The examination of a store after a death remembers what a version stood for, knows rest from work, and
// passes on what the check finds.
#include <gmock/gmock.h>

#include "support/PlayedAgent.h"
#include "tools/torture/PostMortem.h"

namespace {

using namespace Inlif;
using namespace PlayedAgent;
using testing::HasSubstr;
using testing::IsEmpty;

class PostMortemTest : public StartedTest {
 protected:
  PostMortemTest() {
    write(kA, 1, 5, 10);
    write(kA, 2, 6, 11);
    log_[kA]->collectionControl().scratchpadIs(2);
    announce(kA, 2);
    postMortem_.acknowledged({{{kA, 1, 5}, 'w', true, 1, 0}, {{kA, 1, 6}, 'w', true, 2, 0}});
    turn();
    EXPECT_THAT(problem(), IsEmpty());
  }
  // The first problem of all looks so far.
  std::string problem(bool atRest = false) {
    postMortem_.examine(atRest);
    return postMortem_.problems().empty() ? "" : postMortem_.problems().front();
  }

  PostMortem postMortem_{{kMostRecords, kMostRecords, kMostRecords}};
};

TEST_F(PostMortemTest, remembersWhatAVersionStoodFor) {
  log_[kA]->del(LogVersion(2));
  configure(kA, 2, 6, 12);
  EXPECT_THAT(problem(), HasSubstr("T2: InLif0 version 2 stood for the write of unit 1 key 6"));
}

TEST_F(PostMortemTest, knowsTheKeyOfAnAcknowledgement) {
  postMortem_.acknowledged({{{kA, 1, 7}, 'w', true, 2, 0}});
  EXPECT_THAT(problem(), HasSubstr("and in the acknowledgement for the write of unit 1 key 7"));
}

TEST_F(PostMortemTest, findsWorkLeftAtRest) {
  EXPECT_THAT(problem(true), HasSubstr("T4: at rest InLif0 has 2 records in the log"));
}

TEST_F(PostMortemTest, passesOnWhatTheCheckFinds) {
  log_[kA]->collectionControl().scratchpadIs(9);
  announce(kA, 10);
  EXPECT_THAT(problem(), HasSubstr("T1: "));
}

}  // namespace
