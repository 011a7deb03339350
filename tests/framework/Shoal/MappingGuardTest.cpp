// SIGBUS in a host's process: what the store takes, and what it leaves to the host.
#include "Shoal/MappingGuard.h"

#include <fcntl.h>
#include <signal.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "Shoal/PageSize.h"
#include "Shoal/ShoalReader.h"
#include "TestRecords.h"
#include "support/Processes.h"
#include "support/TraceCapture.h"

namespace ShoalTest {
namespace {

using TestSupport::exitCode;
using TestSupport::forked;
using RowReader = Shoal::ShoalReader<Row>;

// What the host's handler saw.
int volatile seen = 0;
int volatile seenCode = 0;
bool volatile usr1Blocked = false;
struct sigaction replaced;

void note(int, siginfo_t* info, void*) {
  sigset_t mask;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  usr1Blocked = ::sigismember(&mask, SIGUSR1) == 1;
  seen = seen + 1;
  seenCode = info->si_code;
  if (info->si_code > 0) ::_exit(40 + seen);  // a fault would come again
}
void plain(int) {
  seen = seen + 1;
}
void chained(int signal, siginfo_t* info, void* context) {
  seen = seen + 1;
  replaced.sa_sigaction(signal, info, context);
}
void asking(int, siginfo_t* info, void*) {
  seen = seen + 1;
  if (!Shoal::takeBusError(info)) ::_exit(50);
}

void hostHandles(void (*handler)(int, siginfo_t*, void*), int flags = SA_SIGINFO) {
  struct sigaction action {};
  action.sa_sigaction = handler;
  action.sa_flags = flags;
  ::sigaddset(&action.sa_mask, SIGUSR1);
  ::sigaction(SIGBUS, &action, &replaced);
}
void hostHandles(void (*handler)(int), unsigned flags = 0) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(flags);
  ::sigaction(SIGBUS, &action, &replaced);
}

class MappingGuard : public testing::Test {
 protected:
  MappingGuard() {
    exitCode(forked([&] {
      store_.claim();
      auto map = mounted("rows", 64);
      for (std::uint32_t key = 0; key < 40; ++key) put(*map, key << 9, key);
      return 0;
    }));
  }

  // The end of a process that runs `before`, opens a reader, and then does what may raise SIGBUS.
  int ends(
      std::function<int()> const& act, std::function<void()> const& before = [] {}) {
    return exitCode(forked([&] {
      before();
      reader_ = RowReader::open("rows").reader;
      return reader_ == nullptr ? 90 : act();
    }));
  }
  // 0 if every read of a file that was cut ends as damage does.
  int readsCut(std::uint64_t size = 4096) {
    std::filesystem::resize_file(store_.fileOf("rows"), size);
    return readsEndAsDamage();
  }
  int readsEndAsDamage() {
    Row row;
    for (std::uint32_t key = 0; key < 40; ++key) {
      try {
        if (reader_->lookup(key << 9, row) != Shoal::ReadResult::found || !row.whole()) return 91;
      } catch (Pivot::CorruptionDetectedException const&) {
        continue;
      }
    }
    return 0;
  }

  TestSupport::TempStore store_;
  std::unique_ptr<RowReader> reader_;
};

// A fault that is none of the store's: memory of the host's own file, cut.
int hostsOwnFault(std::string const& name) {
  int const file = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (::ftruncate(file, 4096) != 0) return 92;
  void* const page = ::mmap(nullptr, 4096, PROT_READ, MAP_SHARED, file, 0);
  if (::ftruncate(file, 0) != 0) return 93;
  return *static_cast<char volatile*>(page);
}

TEST_F(MappingGuard, WhatIsNotTheStoresGoesWhereItWouldHaveGone) {
  std::string const own = store_.directory() + ".host";
  auto const sent = [&] { return ::raise(SIGBUS), seen; };
  auto const fault = [&] { return hostsOwnFault(own); };
  // Sent: ends a process that does not handle it, is ignored by one that ignores it, is handled otherwise.
  EXPECT_EQ(ends(sent), -SIGBUS);
  EXPECT_EQ(ends(sent, [] { hostHandles(SIG_IGN); }), 0);
  EXPECT_EQ(ends(sent, [] { hostHandles(plain); }), 1);
  auto const noted = [&] { return sent(), seenCode == SI_TKILL && usr1Blocked ? 0 : 1; };
  EXPECT_EQ(ends(noted, [] { hostHandles(note); }), 0);
  EXPECT_EQ(ends([&] { return sent(), sent(); }, [] { hostHandles(plain, SA_RESETHAND); }), -SIGBUS)
      << "handled once, as asked for";
  // A fault of the host's own.
  EXPECT_EQ(ends(fault), -SIGBUS);
  EXPECT_EQ(ends(fault, [] { hostHandles(SIG_IGN); }), -SIGBUS);
  EXPECT_EQ(ends(fault, [] { hostHandles(note); }), 41);
  // A handler that came later passes it on, or is alone with it.
  EXPECT_EQ(ends([&] { return hostHandles(chained), fault(); }), -SIGBUS);
  EXPECT_EQ(ends([&] { return hostHandles(asking), fault(); }), 50);
  std::filesystem::remove(own);
}

TEST_F(MappingGuard, ReadersSurviveBesideTheHostsHandlers) {
  std::filesystem::copy_file(store_.fileOf("rows"), store_.directory() + "/.whole");
  auto const sentThenCut = [&] { return ::raise(SIGBUS), readsCut() != 0 ? 1 : seen; };
  auto const laterThenCut = [&](auto handler) {
    return [this, handler] { return hostHandles(handler), readsCut() == 0 && seen > 0 ? 0 : 1; };
  };
  auto const pages = [](std::size_t bytes) { return [bytes] { Shoal::assumeSystemPageBytes(bytes); }; };
  struct Case {
    int noted;
    std::function<int()> act;
    std::function<void()> before = [] {};
  };
  Case const cases[] = {{0, [&] { return readsCut(); }},
                        {0, sentThenCut, [] { hostHandles(SIG_IGN); }},
                        {1, sentThenCut, [] { hostHandles(plain); }},
                        {1, sentThenCut, [] { hostHandles(note); }},
                        {0, laterThenCut(chained)},
                        {0, laterThenCut(asking)},
                        {0, [&] { return readsCut(8192); }, pages(16 << 10)},
                        {0, [&] { return readsCut(8192); }, pages(64 << 10)}};
  for (Case const& one : cases) {
    EXPECT_EQ(ends(one.act, one.before), one.noted) << "case " << &one - cases;
    std::filesystem::copy_file(store_.directory() + "/.whole", store_.fileOf("rows"),
                               std::filesystem::copy_options::overwrite_existing);
  }
}

TEST_F(MappingGuard, ALaterHandlerIsToldAtTheNextMapping) {
  auto const told = [] {
    TestSupport::TraceCapture traces("Shoal", 1);
    auto const before = RowReader::open("rows");
    if (!traces.lines().empty()) return 1;
    hostHandles(plain);
    for (int n = 0; n < 3; ++n) static_cast<void>(RowReader::open("rows"));
    bool const once = traces.lines().size() == 1;
    return once && traces.countContaining("SIGBUS is handled by another") == 1 ? 0 : 2;
  };
  EXPECT_EQ(ends(told), 0);
}

// Other threads map and unmap files all the time, of owners too, while the mappings of this one are cut.
TEST_F(MappingGuard, ThreadsThatMapMeanwhile) {
  auto const cutMeanwhile = [&] {
    store_.claim();
    std::atomic<bool> over = false;
    auto const each = [&](auto work) {
      return std::thread([&over, work] {
        while (!over) work();
      });
    };
    std::thread threads[] = {each([] { static_cast<void>(RowReader::open("rows")); }),
                             each([] { mounted("other", 64); })};
    std::string const spare = store_.directory() + "/spare";
    std::filesystem::copy_file(store_.fileOf("rows"), spare);
    int result = 0;
    for (int n = 0; n < 200 && result == 0; ++n) {
      int const file = ::open(spare.c_str(), O_RDWR | O_CLOEXEC);
      void* const at = ::mmap(nullptr, 8192, PROT_READ, MAP_SHARED, file, 0);
      Shoal::mappingGuard(static_cast<std::byte*>(at), 8192, false, "spare");
      std::filesystem::resize_file(spare, 0);
      if (static_cast<char volatile*>(at)[4096] != 0) result = 1;
      Shoal::letMappingGo(static_cast<std::byte*>(at));
      ::munmap(at, 8192);
      std::filesystem::resize_file(spare, 8192);
      ::close(file);
    }
    over = true;
    for (std::thread& thread : threads) thread.join();
    return result;
  };
  EXPECT_EQ(ends(cutMeanwhile), 0);
}

}  // namespace
}  // namespace ShoalTest
