// Every field of every class of an instance's six modules, by its row: each code that its kind serves, and
// each that it does not.
#include "Asic/SwTableInterfacesSingleton.h"
#include "types/InspectedWorld.h"

namespace {

using namespace TestSupport;
using Pivot::AttributeKind;
using Pivot::AttributeRecord;
using Pivot::OpCode;
using Pivot::OpStatus;
using Pivot::TypeView;

template <class I>
class EveryField : public InspectedWorld<I> {
 protected:
  using Near = std::vector<Pivot::Ptr<Pivot::Node>>;
  static constexpr Pivot::FieldId kInterfaceInitialized = 268;

  // Reads give what the row names; a plain pointer comes as a counted one.
  void expectType(AttributeRecord const& row, Pivot::ValueType const* promised) {
    ASSERT_FALSE(result_.empty()) << row.name;
    std::string const name = promised->name;
    EXPECT_EQ(result_.type()->name,
              name.ends_with('*') ? "Pivot::Ptr<" + name.substr(0, name.size() - 1) + ">" : name);
  }

  OpStatus ask(AttributeRecord const& row, OpCode code, void const* key = nullptr,
               void const* value = nullptr) {
    return type_->inspect(result_, object_, row.id, code, key, value);
  }
  // The codes that the row does not serve are refused and leave no result.
  void refuses(AttributeRecord const& row, std::set<int> const& served) {
    for (int code = 0; code < 32; ++code) {
      if (served.contains(code)) continue;
      EXPECT_EQ(ask(row, static_cast<OpCode>(code)), OpStatus::notAvailable) << row.name << " " << code;
      EXPECT_TRUE(result_.empty());
    }
  }

  // What code 1 takes: the value, or what it is made from.
  void const* valueFor(AttributeRecord const& row, void const* value, Near const& near) {
    if (row.arguments == nullptr) return value;
    made_ = this->arguments(row.arguments, near);
    return made_.pointers.data();
  }

  void attribute(AttributeRecord const& row, Near const& near) {
    EXPECT_EQ(ask(row, OpCode::read), OpStatus::done);
    expectType(row, row.type);
    std::string const text = result_.text();
    Pivot::OpResult const before = result_;
    if (row.place != AttributeRecord::kNoPlace && row.type->isPointer()) {
      EXPECT_EQ(row.type->node(static_cast<char*>(object_) + row.place), before.node().get()) << row.name;
    }
    if (row.writable) {
      EXPECT_EQ(ask(row, OpCode::write, nullptr, valueFor(row, before.value(), near)), OpStatus::done)
          << row.name;
      EXPECT_EQ(ask(row, OpCode::read), OpStatus::done);
      EXPECT_EQ(result_.text(), text);
    }
    refuses(row, row.writable ? std::set{0, 1} : std::set{0});
  }

  void collection(AttributeRecord const& row, Near const& near) {
    auto const count = [&] {
      EXPECT_EQ(ask(row, OpCode::count), OpStatus::done);
      return *result_.as<std::uint32_t>();
    };
    auto const has = [&](void const* key) {
      EXPECT_EQ(ask(row, OpCode::has, key), OpStatus::done);
      return *result_.as<bool>();
    };
    std::shared_ptr<void> const fresh = this->made(*row.keyType, near);
    Pivot::OpResult first;
    if (Vex::MemberWalk walk(*type_, object_, row.id); walk) walk.key(first);
    void const* const key = first.empty() ? fresh.get() : first.value();
    std::shared_ptr<void> const member = this->made(*row.type, near);
    if (std::string_view(row.type->name) == "bool") *static_cast<bool*>(member.get()) = true;
    void const* const value = valueFor(row, member.get(), near);

    EXPECT_EQ(ask(row, OpCode::write, key, value), OpStatus::done) << row.name;
    std::uint32_t const members = count();
    ASSERT_TRUE(has(key)) << row.name;
    EXPECT_EQ(ask(row, OpCode::secondSize), OpStatus::done);
    EXPECT_LT(*result_.as<std::uint32_t>(), 1u << 23);
    for (OpCode const code : {OpCode::read, OpCode::readIfMember}) {
      EXPECT_EQ(ask(row, code, key), OpStatus::done);
      expectType(row, row.type);
    }
    std::uint32_t walked = 0;
    for (Vex::MemberWalk walk(*type_, object_, row.id); walk; walk.inc()) {
      walk.key(result_);
      expectType(row, row.keyType);
      walk.object(result_);
      expectType(row, row.type);
      ++walked;
    }
    EXPECT_EQ(walked, members) << row.name;
    EXPECT_EQ(ask(row, OpCode::remove, key), OpStatus::done);
    EXPECT_FALSE(result_.empty());
    EXPECT_FALSE(has(key)) << row.name;
    EXPECT_EQ(count(), members - 1);
    ask(row, OpCode::write, key, value);  // other operations need the member
    refuses(row, {0, 1, 2, 3, 4, 5, 28});
  }

  void queue(AttributeRecord const& row, Near const& near) {
    EXPECT_EQ(ask(row, OpCode::enqueue, nullptr, this->made(*row.type, near).get()), OpStatus::done);
    std::uint32_t const index = *result_.as<std::uint32_t>();
    for (OpCode const code : {OpCode::read, OpCode::back, OpCode::front}) {
      EXPECT_EQ(ask(row, code, &index), OpStatus::done);
      expectType(row, row.type);
      EXPECT_TRUE(result_.node());
    }
    for (std::uint32_t left = index; left > 0; --left) {
      EXPECT_EQ(ask(row, OpCode::dequeue), OpStatus::done);
      EXPECT_TRUE(result_.node());
      EXPECT_EQ(ask(row, OpCode::count), OpStatus::done);
      EXPECT_EQ(*result_.as<std::uint32_t>(), left - 1);
    }
    EXPECT_EQ(ask(row, OpCode::has, &index), OpStatus::done);
    EXPECT_FALSE(*result_.as<bool>());
    for (OpCode const code : {OpCode::read, OpCode::has})
      EXPECT_EQ(ask(row, code), OpStatus::notAvailable) << "no index, no element";
    EXPECT_EQ(ask(row, OpCode::dequeue), OpStatus::done);
    EXPECT_FALSE(result_.node());
    refuses(row, {0, 3, 5, 6, 7, 8, 9});
  }

  void operation(AttributeRecord const& row, Near const& near) {
    if (row.operate == nullptr) return refuses(row, {});
    auto const arguments = this->arguments(row.arguments, near);
    if (row.id == kInterfaceInitialized && std::string_view(type_->name()).ends_with("Interface")) {
      Asic::SwTableInterfacesSingleton::existing()->swTableIntfDel(
          I::interfaceKey);  // it registers itself anew
    }
    EXPECT_EQ(ask(row, OpCode::call, nullptr, arguments.pointers.data()), OpStatus::done) << row.name;
    if (row.type == nullptr) {
      EXPECT_TRUE(result_.empty());
    } else {
      expectType(row, row.type);
    }
    refuses(row, {10});
  }

  void fields(TypeView const& type, Pivot::Node& object, Near const& living) {
    type_ = type;
    object_ = &object;
    auto near = reachable(object);
    near.insert(near.end(), living.begin(), living.end());
    for (AttributeRecord const& row : type.attributes()) {
      SCOPED_TRACE(std::string(type.name()) + "::" + row.name);
      if (row.kind == AttributeKind::collection)
        collection(row, near);
      else if (row.kind == AttributeKind::queue)
        queue(row, near);
      else if (row.kind == AttributeKind::operation)
        operation(row, near);
      else
        attribute(row, near);
      ++rows_;
      EXPECT_EQ(type.inspect(result_, object_, row.id + 4096, OpCode::read), OpStatus::noField);
    }
  }

  // Makes an object of a class with a constructor list, which is an object of that class and of the result alone.
  bool isMadeFromItsArguments(TypeView const& type, Near const& living) {
    if (type.functions().genericIfConstructFromCtorArgs == nullptr) return false;
    auto const arguments = this->arguments(type.record().constructorArguments, living);
    type.functions().genericIfConstructFromCtorArgs(result_, arguments.pointers.data());
    auto const node = result_.node();
    EXPECT_TRUE(node && node->typeData().name() == std::string_view(type.name())) << type.name();
    EXPECT_TRUE(node && node->useCount() == 2) << "the result's count and this one";
    return true;
  }

  // An object of a class: one of the living, else a new one, else a snapshot of the table.
  Pivot::Ptr<Pivot::Node> objectOf(TypeView const& type, Near const& living) {
    for (auto const& node : living) {
      if (node->typeData().name() == std::string_view(type.name())) return node;
    }
    if (!isMadeFromItsArguments(type, living))
      TypeView::of(this->table()).inspect(result_, this->table_.get(), 903, OpCode::call);
    return result_.node();
  }

  std::optional<TypeView> type_;
  void* object_ = nullptr;
  Pivot::OpResult result_;
  typename EveryField::Arguments made_;
  std::size_t rows_ = 0;
};
TYPED_TEST_SUITE(EveryField, Instances);

TYPED_TEST(EveryField, ServesTheCodesOfItsKind) {
  std::size_t classes = 0;
  std::set<std::string> withoutConstructor;
  Pivot::Ptr<Pivot::Node> const interface = this->interface();
  // The interface comes last: its own operations end what the others work with.
  for (std::string const unit :
       {"InfraTypes", "SwTableHelperBase", "ResourceTableLinkage", "SwTable", "EntryLog", "Interface"}) {
    for (auto const* module : Pivot::ModuleInspectData::all()) {
      if (!std::string_view(module->name).starts_with("_" + std::string(TypeParam::tableName) + unit + "_"))
        continue;
      for (std::uint32_t index = 0; index < module->typeCount; ++index) {
        TypeView const type({module, index});
        auto const living = reachable(*interface);
        if (!this->isMadeFromItsArguments(type, living)) withoutConstructor.insert(type.name());
        auto const object = this->objectOf(type, living);
        ASSERT_TRUE(object) << type.name();
        ASSERT_EQ(object->typeData().name(), std::string_view(type.name()));
        this->fields(type, *object, living);
        ++classes;
      }
    }
  }
  EXPECT_EQ(classes, 29u);
  EXPECT_EQ(this->rows_, 293u);
  std::string const name = std::string("LoamInLif::") + TypeParam::tableName;
  EXPECT_EQ(withoutConstructor, (std::set{name + "Interface", name + "SwTable::SwTableEntries_py"}));
}

}  // namespace
