// What subscribers may do from within a notification, in every order, and what the others still hear.
#include "Pivot/Publisher.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace {

using Pivot::Publisher;

// A subscriber that notes its name when it hears something, and then does what the test says.
struct Listener : Pivot::Subscriber {
  Listener(Publisher* target, char letter, std::string& log, bool atFront = false)
      : publisher(target), name(letter), heard(log) {
    dispatch = [](Publisher*, Pivot::Subscriber* self, Pivot::FieldId, void const*, void const*) {
      auto* listener = static_cast<Listener*>(self);
      listener->heard += listener->name;
      if (listener->reaction) std::exchange(listener->reaction, nullptr)();
    };
    Publisher::subscriberAdd(publisher, this, atFront);
  }
  ~Listener() { Publisher::subscriberRemove(publisher, this); }

  Publisher* publisher;
  char name;
  std::string& heard;
  std::function<void()> reaction;
};

struct PublisherTest : testing::Test {
  std::string heard;
  std::unique_ptr<Publisher> publisher = std::make_unique<Publisher>();
  std::unique_ptr<Listener> a = make('a'), b = make('b'), c = make('c');

  std::unique_ptr<Listener> make(char name, bool atFront = false) {
    return std::make_unique<Listener>(publisher.get(), name, heard, atFront);
  }
  std::string publish() {
    heard.clear();
    publisher->publish(7);
    return heard;
  }
};

TEST_F(PublisherTest, publishesAgainFromWithin) {
  auto const front = make('F', true);
  b->reaction = [&] {
    a.reset();
    publisher->publish(8);
  };
  EXPECT_EQ(publish(), "FabFbcc");
}

TEST_F(PublisherTest, aPublicationOfAnotherPublisherLeavesThisOneItsTurns) {
  Publisher other;
  Listener x(&other, 'x', heard), y(&other, 'y', heard);
  b->reaction = [&] { other.publish(8); };
  x.reaction = [&] {
    a.reset();
    c.reset();
  };
  EXPECT_EQ(publish(), "abxy");
  EXPECT_EQ(publish(), "b");
}

TEST_F(PublisherTest, publisherEndsWithinItsOwnAndWithinANestedPublication) {
  for (bool nested : {false, true}) {
    publisher = std::make_unique<Publisher>();
    Publisher* const doomed = publisher.get();
    auto* first = new Listener(doomed, 'x', heard);
    auto* second = new Listener(doomed, 'y', heard);
    auto end = [&] {
      delete first;
      delete second;
      publisher.reset();
    };
    first->reaction = end;
    if (nested) {
      first->reaction = [&] {
        first->reaction = end;
        publisher->publish(8);
      };
    }
    heard.clear();
    doomed->publish(7);
    EXPECT_EQ(heard, nested ? "xx" : "x");
  }
  // The listeners of the fixture lost their publisher with the first of the two.
  a->publisher = b->publisher = c->publisher = nullptr;
}

TEST_F(PublisherTest, exceptionOfASubscriberLeavesThePublisherWhole) {
  b->reaction = [] { throw 1; };
  EXPECT_THROW(publisher->publish(7), int);
  EXPECT_EQ(publish(), "abc");
}

// Listeners that remove and add at random, themselves too: who stays for a whole publication hears it once, who was away when
// it began never.
TEST(PublisherRandomTest, whoStaysHearsOnceWhoComesLaterNotAtAll) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    Publisher publisher;
    struct Counter : Pivot::Subscriber {
      std::function<void()> reaction;
      int heard = 0;
      bool subscribed = false, touched = false;
    };
    std::vector<Counter> counters(8);
    auto toggle = [&](Counter& counter) {
      counter.touched = true;
      counter.subscribed = !counter.subscribed;
      if (!counter.subscribed) return Publisher::subscriberRemove(&publisher, &counter);
      Publisher::subscriberAdd(&publisher, &counter, random() % 2 == 0);
    };
    for (Counter& counter : counters) {
      counter.dispatch = [](Publisher*, Pivot::Subscriber* self, Pivot::FieldId, void const*, void const*) {
        ++static_cast<Counter*>(self)->heard;
        static_cast<Counter*>(self)->reaction();
      };
      counter.reaction = [&] { toggle(counters[random() % counters.size()]); };
      if (random() % 2 == 0) toggle(counter);
      counter.touched = false;
    }
    std::vector<bool> before;
    for (Counter const& counter : counters) before.push_back(counter.subscribed);
    publisher.publish(1);
    for (std::size_t i = 0; i < counters.size(); ++i) {
      EXPECT_LE(counters[i].heard, before[i] ? 1 : 0);
      EXPECT_TRUE(counters[i].touched || counters[i].heard == (before[i] ? 1 : 0));
    }
  }
}

}  // namespace
