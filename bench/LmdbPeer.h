// The peer that a user would take instead of the store: LMDB doing the same work, one transaction for each
// publication, WRITEMAP and NOSYNC, on the same tmpfs. A publication is a configuration record, a log record
// and the table version. Owns the environment and its folder.
#pragma once

#include <lmdb.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

class LmdbPeer {
 public:
  // create: false opens what another process made.
  LmdbPeer(std::string folder, bool create);
  ~LmdbPeer();
  LmdbPeer(LmdbPeer const&) = delete;
  LmdbPeer& operator=(LmdbPeer const&) = delete;

  // Writes the three records in one transaction; the version is taken from the last one written.
  void publish(std::uint32_t unit, std::uint32_t key, std::byte const* config, std::byte const* log);
  // Reads the log records above `from` in order, at most `most`, copying each into `log`; returns the last
  // version read.
  std::uint64_t consume(std::uint64_t from, std::uint32_t most, std::byte* log);
  void acknowledge(std::uint64_t version);
  std::uint64_t acknowledged();
  // Deletes the log records up to `version`, in one transaction.
  void clean(std::uint64_t version);
  std::uint64_t version() const { return version_; }

 private:
  void put(MDB_txn* txn, MDB_dbi db, void const* key, std::size_t keySize, void const* value,
           std::size_t size, unsigned flags = 0);

  std::string folder_;
  bool own_;
  MDB_env* env_ = nullptr;
  MDB_dbi config_ = 0;
  MDB_dbi log_ = 0;
  MDB_dbi state_ = 0;
  std::uint64_t version_ = 0;
  std::uint64_t cleaned_ = 0;
};

}  // namespace bench
