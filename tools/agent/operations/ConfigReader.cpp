#include "tools/agent/operations/ConfigReader.h"

#include <fmt/format.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

namespace Inlif {

ConfigReader::~ConfigReader() {
  if (thread_.joinable()) thread_.join();
  if (descriptor_ >= 0) close(descriptor_);
}

Pivot::Status ConfigReader::open() {
  descriptor_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (descriptor_ >= 0) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format("no eventfd: {}", std::strerror(errno)));
}

void ConfigReader::start(ConfigQuestion question) {
  try {
    thread_ = std::thread([this, question] { run(question); });
  } catch (std::system_error const&) {
    // Without a thread to be had, the turn takes as long as the file.
    run(question);
  }
}

void ConfigReader::run(ConfigQuestion const& question) {
  try {
    status_ = changeOf(question, change_);
  } catch (std::bad_alloc const&) {
    status_ = Pivot::Status::refused(question.file + ": no memory to read it; expected a smaller file");
  }
  done_.store(true, std::memory_order_release);
  std::uint64_t const one = 1;
  [[maybe_unused]] ssize_t const size = write(descriptor_, &one, sizeof one);
}

bool ConfigReader::take(Pivot::Status& status, ConfigChange& change) {
  if (!done_.load(std::memory_order_acquire)) return false;
  if (thread_.joinable()) thread_.join();
  done_.store(false, std::memory_order_relaxed);
  std::uint64_t count = 0;
  [[maybe_unused]] ssize_t const size = read(descriptor_, &count, sizeof count);
  status = std::exchange(status_, Pivot::Status::ok());
  change = std::exchange(change_, {});
  return true;
}

}  // namespace Inlif
