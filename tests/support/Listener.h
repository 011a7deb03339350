// Hears a publisher while it lives, notes what is published, and does what the test wants within each publication.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Pivot/Publisher.h"

namespace TestSupport {

class Listener : public Pivot::Subscriber {
 public:
  explicit Listener(Pivot::Publisher* publisher) : publisher_(publisher) {
    dispatch = [](Pivot::Publisher*, Subscriber* self, Pivot::FieldId field, void const*, void const* old) {
      auto& listener = *static_cast<Listener*>(self);
      listener.said_.push_back(std::to_string(field) + (old == nullptr ? "" : " old"));
      if (listener.react) listener.react(old);
    };
    Pivot::Publisher::subscriberAdd(publisher_, this, false);
  }
  ~Listener() { leave(); }
  Listener(Listener const&) = delete;
  Listener& operator=(Listener const&) = delete;

  void leave() {
    if (publisher_ != nullptr) Pivot::Publisher::subscriberRemove(std::exchange(publisher_, nullptr), this);
  }
  // What was published since the last call: the field, and whether an old value came with it.
  std::vector<std::string> said() { return std::exchange(said_, {}); }

  std::function<void(void const* old)> react;

 private:
  Pivot::Publisher* publisher_;
  std::vector<std::string> said_;
};

}  // namespace TestSupport
