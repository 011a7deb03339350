#include "Asic/ResolverEntry.h"

#include <utility>

namespace Asic {

ResolverEntry::ResolverEntry(Pivot::Ptr<DependencyEntryHandle const> dependantEntryHandle, EntryFlags flags)
    : dependantEntryHandle_(std::move(dependantEntryHandle)), flags_(flags) {}
ResolverEntry::~ResolverEntry() = default;

}  // namespace Asic
