// A table that others find by its canonical name: the base of ordered tables and of resource tables.
#pragma once

#include "Asic/SwTableBase.h"
#include "OrderedTable/TableName/TableName.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT NamedSwTable : public SwTableBase {
 public:
  Pivot::Ptr<CanonicalTableName const> const& canonicalName() const { return canonicalName_; }
  // The string form of the canonical name, composed once.
  Pivot::String const& name() const { return name_; }

  // Brings the table into line with what its clients still claim; the base has nothing to do.
  virtual void reconcile();

 protected:
  // REQUIRES: canonicalName is not null.
  explicit NamedSwTable(Pivot::Ptr<CanonicalTableName const> canonicalName);
  ~NamedSwTable() override;

 private:
  Pivot::Ptr<CanonicalTableName const> canonicalName_;
  Pivot::String name_;
};

}  // namespace Asic
