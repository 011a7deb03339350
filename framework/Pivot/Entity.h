// Base of the objects that stand for something of the agent (tables, logs, interfaces), and the process's
// singletons by type name.
#pragma once

#include "Cobble/Export.h"
#include "Pivot/Node.h"
#include "Pivot/Types.h"

namespace Vex {

class LOAM_FRAMEWORK_EXPORT Entity : public Pivot::Node {
 public:
  ~Entity() override;
  Pivot::TypeData typeData() const override;
  // For classes that follow a parent; does nothing here.
  virtual void handleParent();

  // The singleton of that name, or null.
  static Pivot::Ptr<Entity> singletonExists(Pivot::String const& typeName);
  // The singleton of that name, made as a T when there is none. REQUIRES: one that exists is a T.
  template <class T>
  static Pivot::Ptr<T> singletonIs(Pivot::String const& typeName) {
    if (Pivot::Ptr<Entity> present = singletonExists(typeName))
      return Pivot::Ptr<T>(static_cast<T*>(present.get()));
    Pivot::Ptr<T> made = Pivot::make<T>();
    enterSingleton(typeName, made);
    return made;
  }
  // Gives the process's count of a singleton up; returns it, or null. A process that plays several lives (a
  // test) ends one so.
  static Pivot::Ptr<Entity> singletonDel(Pivot::String const& typeName);

 private:
  static void enterSingleton(Pivot::String const& typeName, Pivot::Ptr<Entity> entity);
};

}  // namespace Vex
