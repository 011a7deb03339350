#include "tools/demo/kernel/OwnNetwork.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tools/support/Command.h"

namespace Inlif {
namespace {

Pivot::Status notPermitted(char const* what) {
  return Pivot::Status::refused(
      fmt::format("{} cannot be made: {}; expected root, or the capabilities CAP_SYS_ADMIN, CAP_NET_ADMIN, "
                  "CAP_NET_RAW and CAP_BPF",
                  what, std::strerror(errno)));
}

// Goes into a new network namespace, in which nothing is sent that nobody asked for.
Pivot::Status enterNewNetwork(int& descriptor) {
  if (unshare(CLONE_NEWNET) != 0) return notPermitted("a network namespace");
  descriptor = ::open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return systemFailure("/proc/self/ns/net", "open");
  // Not there in a kernel without IPv6.
  std::ofstream("/proc/sys/net/ipv6/conf/default/disable_ipv6") << "1";
  return Pivot::Status::ok();
}

// A request to the kernel, as attributes within attributes.
class Request {
 public:
  Request(std::uint16_t type, std::uint16_t flags) {
    nlmsghdr const header{0, type, static_cast<std::uint16_t>(flags | NLM_F_REQUEST | NLM_F_ACK), 1, 0};
    add(&header, sizeof header);
    addInterface(IFF_UP);
  }
  void addInterface(unsigned flags) {
    ifinfomsg interface {};
    interface.ifi_flags = flags;
    interface.ifi_change = flags;
    add(&interface, sizeof interface);
  }
  void attribute(std::uint16_t type, void const* data, std::size_t size) {
    std::size_t const at = begin(type);
    add(data, size);
    end(at);
  }
  void attribute(std::uint16_t type, std::string const& text) {
    attribute(type, text.c_str(), text.size() + 1);
  }
  std::size_t begin(std::uint16_t type) {
    std::size_t const at = bytes_.size();
    rtattr const header{0, type};
    add(&header, sizeof header);
    return at;
  }
  void end(std::size_t at) {
    auto const length = static_cast<std::uint16_t>(bytes_.size() - at);
    std::memcpy(&bytes_[at], &length, sizeof length);
    bytes_.resize((bytes_.size() + 3) / 4 * 4);
  }
  // Sends it and waits for the kernel's answer; errno tells why not.
  bool isDone() {
    auto const length = static_cast<std::uint32_t>(bytes_.size());
    std::memcpy(bytes_.data(), &length, sizeof length);
    int const kernel = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    struct {
      nlmsghdr header;
      nlmsgerr error;
      char more[512];
    } answer{};
    bool const isAnswered = kernel >= 0 && send(kernel, bytes_.data(), bytes_.size(), 0) >= 0 &&
                            recv(kernel, &answer, sizeof answer, 0) > 0;
    int const error = isAnswered ? -answer.error.error : errno;
    if (kernel >= 0) close(kernel);
    errno = error;
    return error == 0;
  }

 private:
  void add(void const* data, std::size_t size) {
    auto const* const bytes = static_cast<char const*>(data);
    bytes_.insert(bytes_.end(), bytes, bytes + size);
  }

  std::vector<char> bytes_;
};

// The end in the switch comes up, that at the host is there.
bool makePair(OwnNetwork::Pair const& pair, int hosts) {
  Request request(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
  request.attribute(IFLA_IFNAME, pair.inSwitch);
  std::size_t const info = request.begin(IFLA_LINKINFO);
  request.attribute(IFLA_INFO_KIND, "veth");
  std::size_t const data = request.begin(IFLA_INFO_DATA);
  std::size_t const peer = request.begin(VETH_INFO_PEER);
  request.addInterface(0);  // it cannot come up before the other end is there
  request.attribute(IFLA_IFNAME, pair.atHost);
  request.attribute(IFLA_NET_NS_FD, &hosts, sizeof hosts);
  request.end(peer);
  request.end(data);
  request.end(info);
  return request.isDone();
}

bool bringUp(std::string const& interface) {
  ifreq request{};
  interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
  request.ifr_flags = IFF_UP;
  int const any = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  bool const isUp = any >= 0 && ioctl(any, SIOCSIFFLAGS, &request) == 0;
  if (any >= 0) close(any);
  return isUp;
}

}  // namespace

OwnNetwork::~OwnNetwork() {
  if (!mounted_.empty()) umount2(mounted_.c_str(), MNT_DETACH);
  if (switch_ >= 0) close(switch_);
  if (hosts_ >= 0) close(hosts_);
}

Pivot::Status OwnNetwork::open(std::string const& directory, std::vector<Pair> const& pairs) {
  Pivot::Status status = enterNewNetwork(hosts_);
  if (status.isOk()) status = enterNewNetwork(switch_);
  if (!status.isOk()) return status;
  for (Pair const& pair : pairs)
    if (!makePair(pair, hosts_)) return notPermitted("a pair of interfaces");
  if (setns(hosts_, CLONE_NEWNET) != 0) return systemFailure("the hosts' namespace", "setns");
  for (Pair const& pair : pairs)
    if (!bringUp(pair.atHost)) return systemFailure(pair.atHost, "it does not come up");
  if (setns(switch_, CLONE_NEWNET) != 0) return systemFailure("the switch's namespace", "setns");
  std::filesystem::create_directories(directory);
  if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    return notPermitted("a mount namespace");
  if (mount("bpf", directory.c_str(), "bpf", 0, nullptr) != 0) return notPermitted("a BPF file system");
  mounted_ = directory;
  return status;
}

Pivot::Status OwnNetwork::hostSocket(std::string const& interface, int& descriptor) const {
  // A socket stays in the namespace in which it was made.
  if (setns(hosts_, CLONE_NEWNET) != 0) return systemFailure("the hosts' namespace", "setns");
  descriptor = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ETH_P_ALL);
  address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
  bool const isBound =
      descriptor >= 0 && bind(descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
  Pivot::Status const status = isBound ? Pivot::Status::ok() : systemFailure(interface, "packet socket");
  if (setns(switch_, CLONE_NEWNET) != 0) return systemFailure("the switch's namespace", "setns");
  return status;
}

}  // namespace Inlif
