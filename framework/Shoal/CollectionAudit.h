// One collection file at rest, looked through from end to end by somebody who does not own it: every word
// that checks itself, every chain, every record. Where a mount stops at the first loss and mends, this goes
// on, changes nothing and tells all that it finds; it shares no code with the mount, so that the two can be
// held against each other. Used by `inlif check` and by the tests that kill and damage a store.
//
// A file that its owner is changing meanwhile gives findings that are none: the caller looks again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Cobble/Export.h"
#include "Shoal/CollectionSpec.h"
#include "Shoal/RecordTraits.h"

namespace Shoal {

// What is wrong at one place of a file. `record` holds the bytes of the record there, damaged or not, if the
// finding is about one.
struct AuditFinding {
  std::string what;
  std::vector<std::byte> record;
};

struct AuditReport {
  // misfit: there is a file that is no collection of these records; the only finding names what differs.
  // unavailable: descriptors or memory are out, so nothing is known of it; `problem` tells what was missing.
  enum class State { missing, misfit, unavailable, looked };

  State state = State::missing;
  std::vector<AuditFinding> findings;
  std::string problem;
  std::uint64_t incarnation = 0;
  std::uint64_t scratchpad = 0;
  std::uint64_t watermark = 0;
  std::uint64_t agreesWith = 0;
  bool ofAnotherBoot = false;
  bool wiped = false;
  std::vector<std::uint8_t> intent;  // empty: none stands
  std::uint32_t count = 0;
  std::vector<std::byte> records;  // all that are whole, one behind the other, in the order of the walk

  bool whole() const { return state == State::looked && findings.empty(); }
};

// Looks at the file of `spec.path`, as the owner would mount it. Any process, no role; never throws, and reads
// nothing that the file says is not reserved.
LOAM_FRAMEWORK_EXPORT AuditReport audit(CollectionSpec const& spec, RecordType const& type);

// The audit of a collection of one record type, with its records.
template <class Record>
struct Audited {
  AuditReport report;
  std::vector<Record> records;

  static Audited of(CollectionSpec const& spec) {
    Audited audited;
    audited.report = audit(spec, RecordType::of<Record, typename RecordTraits<Record>::Key>());
    std::vector<std::byte>& bytes = audited.report.records;
    audited.records.resize(audited.report.count);
    if (!bytes.empty()) std::memcpy(audited.records.data(), bytes.data(), bytes.size());
    bytes = {};
    return audited;
  }
};

}  // namespace Shoal
