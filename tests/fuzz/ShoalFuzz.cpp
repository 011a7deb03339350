// Arbitrary bytes as the file of a collection: a reader runs every read on it, the audit looks through it, the
// owner mounts it and changes it. Whatever the bytes are, nobody crashes, loops or reads outside; the audit
// finds something exactly when the mount lost something; and what the owner then writes stands in its next
// life. Bytes that are merely random stop at the first check, so an input is a program of patches to a good
// file, each of which may mend the check that covers it. Built and run by tests/fuzz/run.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Shoal/CheckedWord.h"
#include "Shoal/CollectionAudit.h"
#include "Shoal/ShoalReader.h"
#include "Vex/Trace.h"
#include "framework/Shoal/TestRecords.h"

namespace {

using namespace ShoalTest;
using RowReader = Shoal::ShoalReader<Row>;

constexpr std::uint32_t kCapacity = 24;
constexpr Shoal::Geometry kGeometry = Shoal::Geometry::of(sizeof(Row), 4, kCapacity);

void must(bool holds, char const* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// A good file: three buckets with chains, two registers, an intent.
std::vector<std::uint8_t> const& goodFile(TestSupport::TempStore& store) {
  static std::vector<std::uint8_t> const bytes = [&] {
    store.claim();
    auto map = mounted("rows", kCapacity);
    for (std::uint32_t key = 0; key < 20; ++key) put(*map, key * 512 + key % 3, key);
    map->collectionControl().scratchpadIs(77);
    std::uint8_t const intent[24] = {1, 2, 3};
    map->collectionControl().intentIs(intent);
    std::vector<std::uint8_t> read(kGeometry.fileBytes);
    std::FILE* file = std::fopen(store.fileOf("rows").c_str(), "rb");
    must(std::fread(read.data(), 1, read.size(), file) == read.size(), "the good file is read");
    std::fclose(file);
    return read;
  }();
  return bytes;
}

// Takes the input apart. Past its end everything is 0.
class Input {
 public:
  Input(std::uint8_t const* data, std::size_t size) : data_(data), left_(size) {}
  bool more() const { return left_ != 0; }
  template <class Number>
  Number take() {
    Number value{};
    std::size_t const bytes = std::min(left_, sizeof(Number));
    std::memcpy(&value, data_, bytes);
    data_ += bytes;
    left_ -= bytes;
    return value;
  }

 private:
  std::uint8_t const* data_;
  std::size_t left_;
};

// One patch: raw bytes anywhere, or a word or record with its check made right.
void patch(Input& in, std::vector<std::uint8_t>& file) {
  using namespace Shoal;
  file.resize(std::max<std::size_t>(file.size(), kGeometry.fileBytes));
  FileView const view{reinterpret_cast<std::byte*>(file.data()), kGeometry};
  FixedHeader& fixed = view.header()->fixed;
  ControlArea* const control = view.control();
  std::uint64_t const salt = saltOf(fixed.incarnation);
  std::uint32_t const slot = in.take<std::uint8_t>() % kGeometry.slotCount();
  switch (in.take<std::uint8_t>() % 8) {
    case 0: {
      std::size_t const at = in.take<std::uint16_t>();
      for (std::size_t i = 0, count = in.take<std::uint8_t>(); i < count && at + i < file.size(); ++i)
        file[at + i] = in.take<std::uint8_t>();
      return;
    }
    case 1:
      reinterpret_cast<std::uint32_t*>(&fixed)[slot] = in.take<std::uint32_t>();
      fixed.check = bytesChecksum(&fixed, offsetof(FixedHeader, check), kMagic);
      return;
    case 2: {
      std::uint32_t const place = 1 + slot % 6;
      std::atomic<std::uint64_t>* const words[] = {&control->liveCount, &control->slotsReserved,
                                                   &control->wiped,     &control->corrupted,
                                                   &control->retired,   &control->intentWord};
      *words[place - 1] = CheckedWord::of(in.take<std::uint32_t>(), 0, place, salt);
      return;
    }
    case 3:
      control->scratchpad.word[slot % 2][slot / 2 % 2] = CheckedWord::of(
          in.take<std::uint32_t>(), in.take<std::uint8_t>(), 16 + slot % 2 * 2 + slot / 2 % 2, salt);
      return;
    case 4:
      *view.pageTableCell(0) = CheckedWord::of(in.take<std::uint8_t>() % 4, 0, 0x800000, salt);
      return;
    case 5: {  // a link, right for the record in its slot
      std::uint32_t const bucket = in.take<std::uint16_t>() % kWordsPerFrame;
      std::uint32_t key;
      std::memcpy(&key, view.record(slot), sizeof(key));
      std::uint64_t const word =
          Link::of(slot, keyPlace(&key, 4, kWordsPerFrame - 1).tag, view.slotHeader(slot)->checksum);
      std::uint32_t const from = in.take<std::uint8_t>();
      (from < kGeometry.slotCount() ? view.slotHeader(from)->next : view.frameWords(0)[bucket]) = word;
      return;
    }
    case 6: {  // a record with its checksum
      Row const row = Row::of(in.take<std::uint16_t>(), 5);
      std::memcpy(view.record(slot), &row, sizeof(row));
      view.slotHeader(slot)->checksum = slotChecksum(recordChecksum(&row, sizeof(row), salt), slot);
      return;
    }
    default:
      file.resize(in.take<std::uint16_t>() * 2ul);
      file.resize(std::max<std::size_t>(file.size(), 1));
  }
}

void readEverything(RowReader& reader) {
  Row row;
  auto const guarded = [](auto&& read) {
    try {
      read();
    } catch (Pivot::CorruptionDetectedException const&) {
    }
  };
  for (std::uint32_t key = 0; key < 22; ++key)
    guarded([&] {
      if (reader.lookup(key * 512 + key % 3, row) == Shoal::ReadResult::found)
        must(row.key == key * 512 + key % 3, "a lookup gives its key");
    });
  guarded([&] {
    std::uint32_t steps = 0;
    for (auto more = reader.first(row); more == Shoal::ReadResult::found; more = reader.next(row.key, row))
      must(++steps <= kCapacity + 1, "a walk ends");
  });
  guarded([&] { static_cast<void>(reader.scratchpad()); });
  guarded([&] { static_cast<void>(reader.watermark()); });
  guarded([&] { static_cast<void>(reader.size()); });
  reader.waitForChange(reader.changeCounter() + 1, std::chrono::milliseconds(0));
}

void mountAndChange(TestSupport::TempStore& store, bool whole, bool marked) {
  store.reopen();
  auto map = mounted("rows", kCapacity);
  // A file that was marked before is whole and marked; any other is marked by the mount that loses something.
  must(whole == !map->collectionControl().wiped() || marked, "the audit finds what the mount loses");
  static_cast<void>(map->collectionControl().intent());
  for (std::uint32_t key = 0; key < 20; ++key) {
    if (map->size() < kCapacity || map->has(key)) put(*map, key, 9);
    if (key % 4 == 0) map->del(key * 512 + key % 3);
  }
  Oracle const written = contents(*map);
  map.reset();
  store.reopen();
  map = mounted("rows", kCapacity);
  must(contents(*map) == written, "what was written stands in the next life");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static TestSupport::TempStore store;
  Vex::TraceControl::levelIs("*", 0);
  std::vector<std::uint8_t> file = goodFile(store);
  Input in(data, size);
  if (size != 0 && data[0] == 0xFF)
    file.assign(data + 1, data + size);
  else
    while (in.more()) patch(in, file);
  VexSharedMem::StoreRoot::release();
  int const fd = ::open(store.fileOf("rows").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  must(::write(fd, file.data(), file.size()) == static_cast<ssize_t>(file.size()), "the file is written");
  ::close(fd);
  auto const opened = RowReader::open("rows");
  if (opened.reader != nullptr) readEverything(*opened.reader);
  Shoal::AuditReport const report = Shoal::Audited<Row>::of({"rows", 0, kCapacity, Role::agent}).report;
  mountAndChange(store, report.whole(), report.wiped);
  std::filesystem::remove_all(store.directory() + "/.lost");
  return 0;
}
