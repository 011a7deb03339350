// What a table of one unit has done since it was made. Counted by the table's engine, read by whoever wants
// to know.
//
//   field id  attribute                       counts
//        130  entryWriteCnt                   writes accepted
//        131  entryRemoveCnt                  removes accepted
//        132  commitCnt                       commits, failed ones too
//        133  resolveFailCnt                  commits that a resource failed
//        134  updateCnt                       updates after a change of a resource that wrote the entry again
//        135  updateWithFailedResourceCnt     updates, writing or not, of an entry with a failed resource
//        136  tableClearCnt                   clearings of the unit
//        137  suppressedWriteCnt              writes dropped as identical
//        138  suppressCheckDiffCnt            writes compared and found different
//        139  lastCommitTime                  seconds since 1970, UTC; 0 before the first commit
#pragma once

#include <cstdint>

#include "Cobble/Slab.h"
#include "Pivot/Node.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT SwTableStats final : public Pivot::Node {
 public:
  COBBLE_SLAB(SwTableStats, Cobble::SlabAllocationPattern::kDefault)
  Pivot::TypeData typeData() const override;

  std::uint64_t entryWriteCnt() const { return entryWriteCnt_; }
  std::uint64_t entryRemoveCnt() const { return entryRemoveCnt_; }
  std::uint64_t commitCnt() const { return commitCnt_; }
  std::uint64_t resolveFailCnt() const { return resolveFailCnt_; }
  std::uint64_t updateCnt() const { return updateCnt_; }
  std::uint64_t updateWithFailedResourceCnt() const { return updateWithFailedResourceCnt_; }
  std::uint64_t tableClearCnt() const { return tableClearCnt_; }
  std::uint64_t suppressedWriteCnt() const { return suppressedWriteCnt_; }
  std::uint64_t suppressCheckDiffCnt() const { return suppressCheckDiffCnt_; }
  double lastCommitTime() const { return lastCommitTime_; }

  void entryWriteCntInc(std::uint64_t by) { entryWriteCnt_ += by; }
  void entryRemoveCntInc(std::uint64_t by) { entryRemoveCnt_ += by; }
  void commitCntInc(std::uint64_t by) { commitCnt_ += by; }
  void resolveFailCntInc(std::uint64_t by) { resolveFailCnt_ += by; }
  void updateCntInc(std::uint64_t by) { updateCnt_ += by; }
  void updateWithFailedResourceCntInc(std::uint64_t by) { updateWithFailedResourceCnt_ += by; }
  void tableClearCntInc(std::uint64_t by) { tableClearCnt_ += by; }
  void suppressedWriteCntInc(std::uint64_t by) { suppressedWriteCnt_ += by; }
  void suppressCheckDiffCntInc(std::uint64_t by) { suppressCheckDiffCnt_ += by; }
  void lastCommitTimeIs(double seconds) { lastCommitTime_ = seconds; }

 private:
  std::uint64_t entryWriteCnt_ = 0;
  std::uint64_t entryRemoveCnt_ = 0;
  std::uint64_t commitCnt_ = 0;
  std::uint64_t resolveFailCnt_ = 0;
  std::uint64_t updateCnt_ = 0;
  std::uint64_t updateWithFailedResourceCnt_ = 0;
  std::uint64_t tableClearCnt_ = 0;
  std::uint64_t suppressedWriteCnt_ = 0;
  std::uint64_t suppressCheckDiffCnt_ = 0;
  double lastCommitTime_ = 0;
};

}  // namespace Asic
