#include "tools/demo/kernel/FrameStream.h"

#include <linux/if_packet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "tools/support/Command.h"

namespace Inlif {
namespace {

// Longer than any run; what a stream that has come so far would send is not sent.
constexpr std::size_t kMostSeconds = 300;
constexpr std::chrono::milliseconds kTick{1};
constexpr std::chrono::milliseconds kOnTheWay{300};
constexpr int kReceiveBytes = 64 << 20;
constexpr std::uint64_t kMagic = 0x696e6c69662d3136;

constexpr std::size_t kFrameBytes = 64;
constexpr std::size_t kIpBytes = 20;
constexpr std::size_t kPayload = kIpBytes + 8;  // of IP and UDP
using Frame = std::array<std::uint8_t, kFrameBytes + 4>;

void putWord(std::uint8_t* at, unsigned word) {
  at[0] = static_cast<std::uint8_t>(word >> 8);
  at[1] = static_cast<std::uint8_t>(word);
}

unsigned wordAt(std::uint8_t const* at) {
  return static_cast<unsigned>(at[0] << 8 | at[1]);
}

unsigned sumOf(std::uint8_t const* header) {
  unsigned sum = 0;
  for (std::size_t i = 0; i < kIpBytes; i += 2) sum += wordAt(header + i);
  sum = (sum & 0xffff) + (sum >> 16);
  return (sum & 0xffff) + (sum >> 16);
}

// An IP packet that names the frame by its number, behind the tag of its interface. Returns its length.
std::size_t makeFrame(Frame& frame, std::size_t source, std::uint16_t vlan, std::uint64_t number) {
  frame.fill(0);
  std::uint8_t* at = frame.data();
  at[0] = at[6] = 2;
  at[5] = 1;
  putWord(at + 10, static_cast<unsigned>(source));
  at += 12;
  if (vlan != 0) {
    putWord(at, 0x8100);
    putWord(at + 2, vlan);
    at += 4;
  }
  putWord(at, 0x0800);
  at += 2;
  putWord(at, 0x4500);
  putWord(at + 2, static_cast<unsigned>(kFrameBytes - 14));
  putWord(at + 8, 64 << 8 | 17);
  putWord(at + 12, 0x0a00), putWord(at + 14, 1);
  putWord(at + 16, 0x0a00), putWord(at + 18, 2);
  putWord(at + 10, ~sumOf(at) & 0xffff);
  putWord(at + kIpBytes + 4, static_cast<unsigned>(kFrameBytes - 14 - kIpBytes));
  std::memcpy(at + kPayload, &kMagic, sizeof kMagic);
  std::memcpy(at + kPayload + sizeof kMagic, &number, sizeof number);
  return vlan != 0 ? kFrameBytes + 4 : kFrameBytes;
}

}  // namespace

FrameStream::FrameStream(std::vector<Source> sources, std::vector<int> hosts, int out, std::uint32_t rate)
    : sources_(std::move(sources)),
      hosts_(std::move(hosts)),
      out_(out),
      rate_(rate),
      most_(std::size_t{rate} * kMostSeconds),
      records_(std::make_unique<Record[]>(most_)) {}

FrameStream::~FrameStream() {
  stop();
  for (int host : hosts_) close(host);
  close(out_);
}

Pivot::Status FrameStream::start() {
  int const one = 1;
  if (setsockopt(out_, SOL_PACKET, PACKET_AUXDATA, &one, sizeof one) != 0 ||
      setsockopt(out_, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBytes, sizeof kReceiveBytes) != 0)
    return systemFailure("the socket behind the switch", "setsockopt");
  sending_ = receiving_ = true;
  receiver_ = std::thread([this] { receive(); });
  sender_ = std::thread([this] { send(); });
  return Pivot::Status::ok();
}

void FrameStream::stop() {
  sending_ = false;
  if (sender_.joinable()) sender_.join();
  if (!receiver_.joinable()) return;
  std::this_thread::sleep_for(kOnTheWay);
  receiving_ = false;
  receiver_.join();
}

void FrameStream::rounds(unsigned count) const {
  std::size_t const end = next_ + count * sources_.size();
  while (next_ < std::min(end, most_) && sending_) std::this_thread::sleep_for(kTick);
}

void FrameStream::send() {
  std::chrono::nanoseconds const gap(1'000'000'000 / rate_);
  auto due = Clock::now();
  Frame frame;
  while (sending_) {
    while (sending_ && due <= Clock::now() && next_ < most_) {
      std::size_t const number = next_;
      std::size_t const which = number % sources_.size();
      Source const& source = sources_[which];
      std::size_t const length = makeFrame(frame, which, source.vlan, number);
      Time const sent = now();
      if (::send(hosts_[source.host], frame.data(), length, 0) == static_cast<ssize_t>(length))
        records_[number].sent = sent;
      due += gap;
      next_ = number + 1;
    }
    // A sender that was held up makes no more of it up than this: the kernel queues some hundred frames on a CPU.
    due = std::max(due, Clock::now() - kTick);
    std::this_thread::sleep_for(kTick);
  }
}

void FrameStream::receive() {
  while (receiving_) {
    pollfd waiting{out_, POLLIN, 0};
    if (poll(&waiting, 1, 10) > 0)
      while (receiveOne()) {
      }
  }
}

// Takes the next frame that has come out; false when there is none.
bool FrameStream::receiveOne() {
  std::array<std::uint8_t, 256> bytes;
  alignas(cmsghdr) std::array<char, 256> control;
  iovec part{bytes.data(), bytes.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  ssize_t const length = recvmsg(out_, &message, MSG_DONTWAIT);
  if (length < 0) return false;
  Treatment treatment{true, 0, 0};
  // The kernel takes an outer tag off before it hands a frame over, and tells it beside.
  for (cmsghdr* more = CMSG_FIRSTHDR(&message); more; more = CMSG_NXTHDR(&message, more)) {
    if (more->cmsg_level != SOL_PACKET || more->cmsg_type != PACKET_AUXDATA) continue;
    tpacket_auxdata told;
    std::memcpy(&told, CMSG_DATA(more), sizeof told);
    if (told.tp_status & TP_STATUS_VLAN_VALID) treatment.vlan = told.tp_vlan_tci & 0xfff;
  }
  std::uint8_t const* const packet = bytes.data() + 14;
  std::uint64_t magic = 0, number = 0;
  if (static_cast<std::size_t>(length) < 14 + kPayload + sizeof magic + sizeof number) return true;
  std::memcpy(&magic, packet + kPayload, sizeof magic);
  std::memcpy(&number, packet + kPayload + sizeof magic, sizeof number);
  if (magic != kMagic || number >= most_) return true;  // nobody's of ours, or not recognisable and so lost
  treatment.codePoint = packet[1] >> 2;
  bool const isWhole = wordAt(packet - 2) == 0x0800 && sumOf(packet) == 0xffff;
  std::atomic<std::uint32_t>& fate = records_[number].fate;
  fate = isWhole && fate == 0 ? treatment.word() : kMalformed;
  return true;
}

}  // namespace Inlif
