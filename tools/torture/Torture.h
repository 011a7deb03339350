// The torture: random work of one client on an agent and a writer that are killed at random moments.
//
// A cycle begins with both processes alive and at rest. The client works, steers resources that are in use,
// and waits for the clean-up; into one of these steps falls a kill of the agent, the writer or both. After a
// death of the agent the store is examined as it was left, the client changes its mind about some entries and
// perhaps about a whole unit, and the agent is started again: it comes up from the store, is told its units,
// is written everything that is wanted now, sweeps, and clears what nobody serves. Into any of these steps
// falls perhaps the next kill. At the end both are at rest again, and *warm equals cold*: store and image
// hold what a fresh agent would hold that was given the same wishes. That is compared with the wishes
// directly (keys, client bytes, resource keys, and for each resource the value that its table holds for that
// key), and now and then with a real fresh agent and writer in a store of their own.
//
// With a TightSpace the store is full now and then: at random moments of work, replay and sweep, and once in each
// cycle for longer, while the writer stands still and resources change until updates find no room. What the
// client asks for then waits; writes that the store's resource tables had no room for fail, and are asked for again.
// Each end is compared with what the hardware has.
//
// With damage, files are lost, damaged and put back older between lives (StoreDamage.h): once in a cycle at least when
// both are dead, and now and then when the writer alone is. What that leaves is examined only at rest, when the client
// has written everything again; then nothing may be left of it.
//
// With refusals, the hardware behind the writer makes trouble of every kind that it may. Whatever it refused is then named
// by the failures, and by nothing else.
//
// All choices come from the seed and the number of the cycle; the moment at which a kill falls among the
// instructions of its victim does not.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "tools/demo/Killer.h"
#include "tools/demo/Life.h"
#include "tools/torture/PostMortem.h"
#include "tools/torture/Repairs.h"
#include "tools/torture/StoreDamage.h"
#include "tools/torture/TightSpace.h"

namespace Inlif {

// The steps into which kills fall.
enum class Place : std::uint8_t { launch, units, replay, sweep, reconcile, work, resources, cleanUp };
inline constexpr std::size_t kPlaces = 8;
enum class Victim : std::uint8_t { agent, writer, both };
inline constexpr std::size_t kVictims = 3;
char const* nameOf(Place place);
char const* nameOf(Victim victim);

struct TortureFigures {
  std::size_t cycles = 0;
  std::array<std::array<std::size_t, kVictims>, kPlaces> kills{};
  std::array<std::size_t, kStrikes> strikes{};
  std::size_t agentStarts = 0;
  std::size_t operations = 0;
  std::size_t restored = 0;
  std::size_t rewritten = 0;
  std::size_t identical = 0;
  std::size_t swept = 0;
  std::size_t cleared = 0;
  std::size_t compared = 0;  // entries, at the ends of cycles
  std::size_t refused = 0;   // of these, by the hardware
  std::size_t coldAgents = 0;
  std::size_t timesFull = 0;
  std::size_t setAside = 0;    // publications that had no room, as far as they were looked at
  std::size_t askedAgain = 0;  // writes that had failed for want of room
  double secondsToServe = 0;   // of all starts together
};

class Torture {
 public:
  // What a run has to bear beside deaths.
  struct Trouble {
    TightSpace* space = nullptr;  // holds the store, and outlives the run; null: there is room
    bool damage = false;          // files are lost, damaged and put back older
    bool refusals = false;        // the hardware refuses, puts off, completes late, and is reset
  };

  // `directory` exists. A cold agent is compared with each `coldEvery` cycles; 0: never.
  Torture(std::string directory, std::uint64_t seed, std::uint64_t coldEvery, Trouble trouble);

  // Starts both processes for the first time.
  Pivot::Status open();
  // One cycle; refused at the first difference.
  Pivot::Status cycle();
  // Ends both processes in good order.
  Pivot::Status close();

  TortureFigures const& figures() const { return figures_; }
  Repairs const& repairs() const { return repairs_.repairs(); }
  std::size_t versions() const { return postMortem_.versions(); }
  // What was done to the files in the last cycle.
  std::vector<std::string> const& lastStrikes() const { return strikes_; }
  // All that was found at the first difference.
  std::vector<std::string> const& findings() const { return findings_; }
  std::string lastWords() const { return stage_.lastWords(); }

 private:
  struct Kill {
    Place place;
    Victim victim;
  };
  using Units = std::set<UnitPlace>;

  std::uint64_t below(std::uint64_t bound) { return random_() % bound; }
  bool oneIn(std::uint64_t chance) { return below(chance) == 0; }
  Victim anyVictim();
  void planKills();
  void arm(Place place, Victim victim);
  void countKill();
  template <class F>
  Pivot::Status step(Place place, F f);

  // The steps of a cycle.
  Pivot::Status work();
  Pivot::Status steerResources();
  std::vector<Json> steerings(std::uint64_t count);
  template <class F>
  Pivot::Status tight(F f);
  Pivot::Status drought();
  Pivot::Status storm();
  Pivot::Status askMeanwhile();
  Pivot::Status askAgain();
  Pivot::Status recover();
  Pivot::Status bury(Pivot::Status const& why);
  Pivot::Status settle(Pivot::Status status);
  Pivot::Status rest();

  // Damage (DamagedStore.cpp).
  Pivot::Status strikeAtRest();
  Pivot::Status throughTheWriter();
  void strikeBetweenLives();
  void strikeUnderAgent();
  void struckBy(Strike strike);
  void keepCopy();
  void endStrikes();
  Pivot::Status surprises();
  Pivot::Status compareWarm();
  Pivot::Status awaitImages();
  Pivot::Status compareCold();
  void changeMind();
  void newLife();
  void endLife();
  Pivot::Status found(std::vector<std::string> const& problems);

  std::string directory_;
  std::uint64_t seed_;
  std::uint64_t coldEvery_;
  TightSpace* const space_;
  Reports reports_;
  Wants::Random random_;
  WorkloadShape shape_;
  Units allUnits_;
  Units served_;
  Stage stage_;
  Wants wants_;
  std::unique_ptr<Life> life_;
  Killer killer_;
  bool damages_;
  bool const refusals_;
  StoreDamage damage_;
  bool struck_ = false;               // since the store was last found whole
  bool tellsOfLosses_ = false;        // this life may
  bool struckUnder_ = false;          // the same, while the agent ran
  std::vector<std::string> strikes_;  // of the cycle, for a run that fails
  std::vector<Kill> plan_;
  Victim victim_ = Victim::agent;  // of the kill that is armed
  std::array<double, kPlaces> microseconds_;
  PostMortem postMortem_;
  RepairCount repairs_;
  TortureFigures figures_;
  std::vector<std::string> findings_;
};

}  // namespace Inlif
