// Prints the work of an edge switch as operations of an agent: three tables, four units, shared and private
// resources, updates, removes, dependencies across tables, two failing resources and a remove-all. Try it
// with
//
//   inlif writer --store /dev/shm/loam &
//   inlif-workload 24000 1 | inlif agent --store /dev/shm/loam --input -
//
// Arguments: how many different entries (default 24000), and the seed (default 1). The same arguments print
// the same operations.
#include <fmt/format.h>

#include <cstdint>
#include <cstdio>

#include "tools/workload/Workload.h"

namespace {

bool numberOr(int argc, char** argv, int place, std::uint32_t most, std::uint32_t& out) {
  std::uint64_t number = 0;
  if (argc <= place) return true;
  if (!Inlif::numberFrom(std::string_view(argv[place]), number) || number > most) {
    fmt::print(stderr, "inlif-workload: \"{}\" is no number of {}; expected 0 to {}\n", argv[place],
               place == 1 ? "entries" : "a seed", most);
    return false;
  }
  out = static_cast<std::uint32_t>(number);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Inlif::WorkloadShape shape;
  if (!numberOr(argc, argv, 1, 600'000, shape.entries) || !numberOr(argc, argv, 2, UINT32_MAX, shape.seed))
    return 2;
  Inlif::Workload const workload(shape);
  for (auto const* part : {&workload.preparation(), &workload.operations()}) {
    for (Inlif::Json const& operation : *part) fmt::print("{}\n", operation.dump());
  }
}
