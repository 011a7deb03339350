// The process-wide registry that makes each table interface the only one of its instance, and keeps it alive.
#pragma once

#include <absl/container/btree_map.h>

#include "Asic/TableInterfaceBase.h"
#include "Pivot/Entity.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT SwTableInterfacesSingleton final : public Vex::Entity {
 public:
  // The name under which the entity is found among the singletons of the process.
  static constexpr char const* kTypeName = "Asic::SwTableInterfacesSingleton";

  // Null while nobody has made it.
  static Pivot::Ptr<SwTableInterfacesSingleton> existing();
  // Finds the entity or makes it.
  static Pivot::Ptr<SwTableInterfacesSingleton> singleton();

  ~SwTableInterfacesSingleton() override;
  Pivot::TypeData typeData() const override;

  bool swTableIntfHas(Pivot::String const& key) const { return interfaces_.contains(key); }
  // Null when nothing is registered under key.
  Pivot::Ptr<TableInterfaceBase> swTableIntf(Pivot::String const& key) const;
  // In order of key.
  absl::btree_map<Pivot::String, Pivot::Ptr<TableInterfaceBase>> const& swTableIntfs() const {
    return interfaces_;
  }
  // REQUIRES: interface is not null.
  void swTableIntfIs(Pivot::String const& key, Pivot::Ptr<TableInterfaceBase> const& interface);
  // Takes an interface out and returns it; null when there was none.
  Pivot::Ptr<TableInterfaceBase> swTableIntfDel(Pivot::String const& key);
  // Lets go of all interfaces, each with its key already out of the registry.
  void swTableIntfDelAll();

 private:
  absl::btree_map<Pivot::String, Pivot::Ptr<TableInterfaceBase>> interfaces_;
};

}  // namespace Asic
