#include "hardware/kernel/KernelProgram.h"

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <fmt/format.h>
#include <linux/if_link.h>
#include <linux/magic.h>
#include <net/if.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

// The compiled program, as bytes of this library.
__asm__(
    ".pushsection .rodata\n"
    ".balign 16\n"
    ".local inlifIngressBegin\n"
    "inlifIngressBegin:\n"
    ".incbin \"" INLIF_INGRESS_OBJECT
    "\"\n"
    ".local inlifIngressEnd\n"
    "inlifIngressEnd:\n"
    ".popsection\n");
extern "C" char const inlifIngressBegin[] __attribute__((visibility("hidden")));
extern "C" char const inlifIngressEnd[] __attribute__((visibility("hidden")));

namespace LoamHardware {
namespace {

// What the library says of its last failure; it knows more than the number of the error.
std::string& lastWords() {
  static std::string words;
  return words;
}

int noteWords(libbpf_print_level level, char const* format, va_list arguments) {
  char text[512];
  int const length = std::vsnprintf(text, sizeof text, format, arguments);
  // The first warning names the cause, those behind it what was given up for it.
  if (level == LIBBPF_WARN && lastWords().empty()) lastWords() = text;
  while (!lastWords().empty() && lastWords().back() == '\n') lastWords().pop_back();
  return length;
}

Pivot::Status directoryFor(std::string const& pins) {
  std::error_code error;
  std::filesystem::path present = pins;
  while (!std::filesystem::exists(present, error) && present.has_relative_path())
    present = present.parent_path();
  struct statfs system {};
  if (statfs(present.c_str(), &system) != 0)
    return Pivot::Status::refused(fmt::format("{}: {}", present.string(), std::strerror(errno)));
  if (system.f_type != BPF_FS_MAGIC)
    return Pivot::Status::refused(
        fmt::format("{} is on no BPF file system; expected a directory on one, which `mount -t bpf bpf "
                    "/sys/fs/bpf` makes",
                    pins));
  std::filesystem::create_directories(pins, error);
  return error ? Pivot::Status::refused(fmt::format("{}: {}", pins, error.message())) : Pivot::Status::ok();
}

std::string reason(int error) {
  if (error == EPERM || error == EACCES)
    return fmt::format("{}; expected root, or the capabilities CAP_SYS_ADMIN, CAP_BPF and CAP_NET_ADMIN",
                       std::strerror(error));
  return lastWords().empty() ? std::strerror(error)
                             : fmt::format("{}: {}", std::strerror(error), lastWords());
}

}  // namespace

KernelProgram::~KernelProgram() {
  if (object_) bpf_object__close(object_);
}

Pivot::Status KernelProgram::load(std::string const& pins) {
  lastWords().clear();
  libbpf_set_print(noteWords);
  if (object_) bpf_object__close(object_);
  object_ = nullptr;
  pins_ = pins;
  Pivot::Status status = directoryFor(pins);
  if (!status.isOk()) return status;
  bpf_object_open_opts options{};
  options.sz = sizeof options;
  options.object_name = "inlif";
  options.pin_root_path = pins.c_str();
  object_ = bpf_object__open_mem(inlifIngressBegin,
                                 static_cast<std::size_t>(inlifIngressEnd - inlifIngressBegin), &options);
  if (!object_) return Pivot::Status::refused(fmt::format("the program for the kernel: {}", reason(errno)));
  if (int const failed = bpf_object__load(object_); failed != 0)
    return Pivot::Status::refused(
        fmt::format("{}: maps and program cannot be loaded: {}", pins, reason(-failed)));
  return status;
}

int KernelProgram::descriptor() const {
  return bpf_program__fd(bpf_object__find_program_by_name(object_, "inlif_ingress"));
}

Pivot::Status KernelProgram::attach(KernelMaps& maps, PortWiring const& wiring, XdpMode mode) {
  unsigned const ingress = if_nametoindex(wiring.interface.c_str());
  unsigned const egress = wiring.egress.empty() ? 0 : if_nametoindex(wiring.egress.c_str());
  if (ingress == 0 || (egress == 0 && !wiring.egress.empty()))
    return Pivot::Status::refused(fmt::format("port {}: there is no interface \"{}\"", wiring.name,
                                              ingress == 0 ? wiring.interface : wiring.egress));
  // Before the program meets a frame of the port.
  if (int const error = maps.portIs(ingress, {wiring.port, egress, wiring.unit, wiring.userTpid}); error != 0)
    return Pivot::Status::refused(fmt::format("port {}: {}", wiring.name, reason(error)));
  int const program = descriptor();
  std::string const pin = fmt::format("{}/port-{}", pins_, wiring.name);
  if (int const link = bpf_obj_get(pin.c_str()); link >= 0) {
    bpf_link_info info{};
    std::uint32_t size = sizeof info;
    bool const isSame = bpf_obj_get_info_by_fd(link, &info, &size) == 0 && info.xdp.ifindex == ingress &&
                        bpf_link_update(link, program, nullptr) == 0;
    close(link);
    if (isSame) return Pivot::Status::ok();
    unlink(pin.c_str());
  }
  bpf_link_create_opts options{};
  options.sz = sizeof options;
  options.flags = mode == XdpMode::generic ? XDP_FLAGS_SKB_MODE : XDP_FLAGS_DRV_MODE;
  int const link = bpf_link_create(program, static_cast<int>(ingress), BPF_XDP, &options);
  if (link < 0)
    return Pivot::Status::refused(fmt::format("port {}: the program cannot be attached to {}: {}",
                                              wiring.name, wiring.interface, reason(errno)));
  int const pinned = bpf_obj_pin(link, pin.c_str());
  int const error = errno;
  close(link);
  return pinned == 0 ? Pivot::Status::ok()
                     : Pivot::Status::refused(fmt::format("{}: {}", pin, reason(error)));
}

}  // namespace LoamHardware
