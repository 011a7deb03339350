#include "Shoal/CollectionAudit.h"

#include <fmt/format.h>

#include <algorithm>

#include "Shoal/BootId.h"
#include "Shoal/CheckedWord.h"
#include "Shoal/CollectionFile.h"
#include "Shoal/FileLayout.h"

namespace Shoal {
namespace {

class Audit {
 public:
  Audit(FileView const& view, RecordType const& type, AuditReport& report)
      : view_(view), type_(type), report_(report), key_(type.keyBytes) {
    report_.state = AuditReport::State::looked;
    report_.incarnation = view_.header()->fixed.incarnation;
    salt_ = saltOf(report_.incarnation);
  }

  void run() {
    control();
    if (!pageTable()) return;
    seen_.assign(slotsReserved_, false);
    for (std::uint32_t page = 0; page < frameOf_.size(); ++page)
      for (std::uint32_t i = 0; frameOf_[page] != 0 && i < kWordsPerFrame; ++i)
        chain(page * kWordsPerFrame + i, view_.frameWords(frameOf_[page] - 1) + i);
    if (report_.count > view_.geometry.capacity)
      tell(fmt::format("it holds {} records, its capacity is {}", report_.count, view_.geometry.capacity));
  }

 private:
  void tell(std::string what) { report_.findings.push_back({std::move(what), {}}); }

  // The payload of a checked word of the control area; a word that does not check is told.
  std::uint32_t payload(std::atomic<std::uint64_t> const& word, WordPlace place, char const* name) {
    std::uint64_t const value = word.load(std::memory_order_acquire);
    if (!CheckedWord::valid(value, place, salt_))
      tell(fmt::format("{} is damaged (word {:#018x})", name, value));
    return CheckedWord::payload(value);
  }

  std::uint64_t number(RegisterWords const& words, WordPlace place, char const* name) {
    std::uint64_t value = 0;
    if (readRegister(words, place, salt_, value) != RegisterState::whole)
      tell(fmt::format("the {} is damaged", name));
    return value;
  }

  void control() {
    ControlArea const* control = view_.control();
    if (payload(control->retired, WordPlace::retired, "the retired mark") != 0)
      tell("it says that another file took its path");
    std::uint32_t const wiped = payload(control->wiped, WordPlace::wiped, "the wiped mark");
    if (wiped > 1) tell(fmt::format("the wiped mark is {}, expected 0 or 1", wiped));
    report_.wiped = wiped != 0;
    slotsReserved_ =
        payload(control->slotsReserved, WordPlace::slotsReserved, "the number of reserved slots");
    if (slotsReserved_ < 2 || slotsReserved_ > view_.geometry.slotCount()) {
      tell(
          fmt::format("{} slots are reserved, expected 2 to {}", slotsReserved_, view_.geometry.slotCount()));
      slotsReserved_ = 0;
    }
    report_.scratchpad = number(control->scratchpad, WordPlace::scratchpad, "scratchpad");
    report_.watermark = number(control->watermark, WordPlace::watermark, "watermark");
    report_.agreesWith = number(control->agreesWith, WordPlace::agreesWith, "incarnation it agrees with");
    report_.ofAnotherBoot = number(control->boot, WordPlace::boot, "boot it was written under") != bootId();
    std::uint32_t const length = payload(control->intentWord, WordPlace::intent, "the length of the intent");
    if (length > kIntentBytes ||
        (length != 0 && control->intentCheck != bytesChecksum(control->intentBytes.data(), length, salt_)))
      tell("the standing intent is damaged");
    else
      report_.intent.assign(control->intentBytes.data(), control->intentBytes.data() + length);
  }

  // False if no bucket can be looked at.
  bool pageTable() {
    std::uint32_t const pages = view_.geometry.frameCount();
    frameOf_.assign(pages, 0);
    std::vector<std::uint32_t> pageOf(pages + 1, pages);
    std::uint32_t used = 0;
    std::uint32_t highest = 0;
    for (std::uint32_t page = 0; page < pages; ++page) {
      std::uint64_t const cell = view_.pageTableCell(page)->load(std::memory_order_acquire);
      std::uint32_t const frame = CheckedWord::payload(cell);
      if (!CheckedWord::valid(cell, static_cast<std::uint32_t>(WordPlace::pageTable) + page, salt_) ||
          frame > pages) {
        tell(fmt::format("cell {} of the page table is damaged (word {:#018x})", page, cell));
      } else if (frame != 0 && pageOf[frame] != pages) {
        tell(fmt::format("directory pages {} and {} share frame {}", pageOf[frame], page, frame - 1));
      } else if (frame != 0) {
        frameOf_[page] = frame;
        pageOf[frame] = page;
        ++used;
        highest = std::max(highest, frame);
      }
    }
    if (used == highest) return true;
    tell(fmt::format("{} frames are used, the highest is {}: some belong to no directory page", used,
                     highest));
    return false;
  }

  // S1, S2: one chain, until its end or the first word that leads nowhere.
  void chain(std::uint32_t bucket, std::atomic<std::uint64_t> const* link) {
    std::uint64_t word = link->load(std::memory_order_acquire);
    std::vector<std::byte> before;
    while (word != terminatorOf(bucket, salt_)) {
      std::uint32_t const slot = Link::slot(word);
      if (!Link::isLive(word) || slot >= slotsReserved_)
        return tell(fmt::format(
            "bucket {}: a link is damaged (word {:#018x}); what is behind it is out of reach", bucket, word));
      if (seen_[slot]) return tell(fmt::format("bucket {}: two links lead to slot {}", bucket, slot));
      seen_[slot] = true;
      if (!record(bucket, slot, word, before)) return;
      word = view_.slotHeader(slot)->next.load(std::memory_order_acquire);
    }
  }

  // One record. False when the link does not mean it, so that the word behind it leads nowhere.
  bool record(std::uint32_t bucket, std::uint32_t slot, std::uint64_t word, std::vector<std::byte>& before) {
    std::byte const* bytes = view_.record(slot);
    std::uint64_t const stored = view_.slotHeader(slot)->checksum.load(std::memory_order_acquire);
    std::uint64_t const real = recordChecksum(bytes, type_.recordBytes, salt_);
    auto const tellOfRecord = [&](char const* what) {
      report_.findings.push_back(
          {fmt::format("bucket {}, slot {}: {}", bucket, slot, what), {bytes, bytes + type_.recordBytes}});
    };
    if (!Link::fits(word, stored) && !Link::fits(word, real)) {
      tellOfRecord("a link and the record it leads to do not fit; what is behind it is out of reach");
      return false;
    }
    type_.keyOf(bytes, key_.data());
    KeyPlace const place = keyPlace(key_.data(), type_.keyBytes, view_.geometry.bucketCount - 1);
    if (!checksumFits(stored, real) || !Link::fits(word, stored)) {
      tellOfRecord("a record and its checksum do not fit");
    } else if (place.bucket != bucket || place.tag != Link::tag(word)) {
      tellOfRecord("a key does not belong where it is");
    } else if (!before.empty() && keyCompare(before.data(), key_.data(), type_.keyBytes) >= 0) {
      tellOfRecord("a chain is out of order");
    } else {
      before = key_;
      ++report_.count;
      report_.records.insert(report_.records.end(), bytes, bytes + type_.recordBytes);
    }
    return true;
  }

  FileView const& view_;
  RecordType const& type_;
  AuditReport& report_;
  std::uint64_t salt_ = 0;
  std::uint32_t slotsReserved_ = 0;
  std::vector<std::uint32_t> frameOf_;  // by directory page: frame + 1, or 0
  std::vector<bool> seen_;              // by slot: some link led there
  std::vector<std::byte> key_;          // of the record looked at
};

}  // namespace

AuditReport audit(CollectionSpec const& spec, RecordType const& type) {
  AuditReport report;
  CollectionFile file;
  std::string message;
  CollectionFile::Result const result = file.openForReading(spec.path, type, message);
  if (result == CollectionFile::Result::missing) return report;
  if (result == CollectionFile::Result::unavailable) {
    report.state = AuditReport::State::unavailable;
    report.problem = std::move(message);
    return report;
  }
  report.state = AuditReport::State::misfit;
  if (result == CollectionFile::Result::ok) {
    FixedHeader const& header = file.view().header()->fixed;
    if (header.role != static_cast<std::uint32_t>(spec.role))
      message = fmt::format("role of the owner is {}, expected {}", header.role,
                            static_cast<std::uint32_t>(spec.role));
    else if (header.capacity != spec.capacity)
      message = fmt::format("capacity is {}, expected {}", header.capacity, spec.capacity);
  }
  if (message.empty())
    Audit(file.view(), type, report).run();
  else
    report.findings.push_back({std::move(message), {}});
  return report;
}

}  // namespace Shoal
