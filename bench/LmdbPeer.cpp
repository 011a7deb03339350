// See LmdbPeer.h. Log versions are MDB_INTEGERKEY, so that appends go to the last page: the cheapest form
// that LMDB has for a log.
#include "bench/LmdbPeer.h"

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "bench/Floor.h"

namespace bench {
namespace {

void check(int code, char const* what) {
  if (code != MDB_SUCCESS) throw std::runtime_error(std::string(what) + ": " + mdb_strerror(code));
}

constexpr std::uint32_t kVersionRow = 1;
constexpr std::uint32_t kAcknowledgedRow = 2;

}  // namespace

LmdbPeer::LmdbPeer(std::string folder, bool create) : folder_(std::move(folder)), own_(create) {
  if (create) std::filesystem::create_directories(folder_);
  check(mdb_env_create(&env_), "mdb_env_create");
  check(mdb_env_set_maxdbs(env_, 3), "mdb_env_set_maxdbs");
  check(mdb_env_set_mapsize(env_, std::size_t{4} << 30U), "mdb_env_set_mapsize");
  check(mdb_env_open(env_, folder_.c_str(), MDB_WRITEMAP | MDB_NOSYNC, 0600), "mdb_env_open");
  MDB_txn* txn = nullptr;
  check(mdb_txn_begin(env_, nullptr, 0, &txn), "mdb_txn_begin");
  unsigned const flags = create ? MDB_CREATE : 0;
  check(mdb_dbi_open(txn, "config", flags | MDB_INTEGERKEY, &config_), "mdb_dbi_open");
  check(mdb_dbi_open(txn, "log", flags | MDB_INTEGERKEY, &log_), "mdb_dbi_open");
  check(mdb_dbi_open(txn, "state", flags | MDB_INTEGERKEY, &state_), "mdb_dbi_open");
  check(mdb_txn_commit(txn), "mdb_txn_commit");
}

LmdbPeer::~LmdbPeer() {
  mdb_env_close(env_);
  if (own_) {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
}

void LmdbPeer::put(MDB_txn* txn, MDB_dbi db, void const* key, std::size_t keySize, void const* value,
                   std::size_t size, unsigned flags) {
  MDB_val k{keySize, const_cast<void*>(key)};
  MDB_val v{size, const_cast<void*>(value)};
  check(mdb_put(txn, db, &k, &v, flags), "mdb_put");
}

void LmdbPeer::publish(std::uint32_t unit, std::uint32_t key, std::byte const* config, std::byte const* log) {
  MDB_txn* txn = nullptr;
  check(mdb_txn_begin(env_, nullptr, 0, &txn), "mdb_txn_begin");
  std::uint64_t const place = std::uint64_t{unit} << 32U | key;
  std::uint64_t const version = ++version_;
  put(txn, config_, &place, sizeof place, config, Floor::kConfigSize);
  put(txn, log_, &version, sizeof version, log, Floor::kLogSize, MDB_APPEND);
  put(txn, state_, &kVersionRow, sizeof kVersionRow, &version, sizeof version);
  check(mdb_txn_commit(txn), "mdb_txn_commit");
}

std::uint64_t LmdbPeer::consume(std::uint64_t from, std::uint32_t most, std::byte* log) {
  MDB_txn* txn = nullptr;
  check(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn), "mdb_txn_begin");
  MDB_cursor* cursor = nullptr;
  check(mdb_cursor_open(txn, log_, &cursor), "mdb_cursor_open");
  std::uint64_t next = from + 1;
  MDB_val k{sizeof next, &next};
  MDB_val v{};
  std::uint64_t last = from;
  int code = mdb_cursor_get(cursor, &k, &v, MDB_SET_RANGE);
  for (std::uint32_t i = 0; code == MDB_SUCCESS && i < most; ++i) {
    std::memcpy(&last, k.mv_data, sizeof last);
    std::memcpy(log, v.mv_data, Floor::kLogSize);
    code = mdb_cursor_get(cursor, &k, &v, MDB_NEXT);
  }
  if (code != MDB_SUCCESS && code != MDB_NOTFOUND) check(code, "mdb_cursor_get");
  mdb_cursor_close(cursor);
  mdb_txn_abort(txn);
  return last;
}

void LmdbPeer::acknowledge(std::uint64_t version) {
  MDB_txn* txn = nullptr;
  check(mdb_txn_begin(env_, nullptr, 0, &txn), "mdb_txn_begin");
  put(txn, state_, &kAcknowledgedRow, sizeof kAcknowledgedRow, &version, sizeof version);
  check(mdb_txn_commit(txn), "mdb_txn_commit");
}

std::uint64_t LmdbPeer::acknowledged() {
  MDB_txn* txn = nullptr;
  check(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn), "mdb_txn_begin");
  MDB_val k{sizeof kAcknowledgedRow, const_cast<std::uint32_t*>(&kAcknowledgedRow)};
  MDB_val v{};
  std::uint64_t version = 0;
  if (mdb_get(txn, state_, &k, &v) == MDB_SUCCESS) std::memcpy(&version, v.mv_data, sizeof version);
  mdb_txn_abort(txn);
  return version;
}

void LmdbPeer::clean(std::uint64_t version) {
  if (version <= cleaned_) return;
  MDB_txn* txn = nullptr;
  check(mdb_txn_begin(env_, nullptr, 0, &txn), "mdb_txn_begin");
  for (std::uint64_t v = cleaned_ + 1; v <= version; ++v) {
    MDB_val k{sizeof v, &v};
    int const code = mdb_del(txn, log_, &k, nullptr);
    if (code != MDB_NOTFOUND) check(code, "mdb_del");
  }
  check(mdb_txn_commit(txn), "mdb_txn_commit");
  cleaned_ = version;
}

}  // namespace bench
