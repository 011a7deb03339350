/* What the writer and the program in the kernel share: the BPF maps of the target `kernel`, and what lies in them.
 *
 * Read by two compilers, as C for the program (ingress.bpf.c) and as C++ for the writer: plain structs with numbers of
 * fixed width in the machine's byte order, which is little-endian, and an assertion for each offset. The maps are pinned,
 * so a later writer meets what an earlier build has written: a layout that changes changes a size or the name of its map,
 * and what is pinned is refused.
 *
 *   map            kind              key              value              at most          written by
 *   inlif0         hash of maps      unit, u32        a unit's map       256 units        the writer
 *   inlif1         hash of maps      unit, u32        a unit's map       256 units        the writer
 *   inlif23        hash of maps      unit, u32        a unit's map       256 units        the writer
 *   (unit's map)   hash              entry key, u32   InlifEntry         65,536           the writer
 *   inlif_matches  hash              InlifMatch       InlifPlace         196,608          the writer
 *   inlif_profiles array             profile, u32     InlifProfile       256              the writer
 *   inlif_ports    hash              ifindex, u32     InlifPort          1,024            who attaches a port
 *   inlif_counters hash, per CPU     InlifPlace       InlifCounter       1,048,576        the program; the writer removes
 *   inlif_drops    array, per CPU    InlifDrop, u32   frames, u64        kInlifDrops      the program
 *   inlif_learned  hash, LRU         InlifAddress     InlifPlace         65,536           the program
 */
#ifndef HARDWARE_KERNEL_KERNELLAYOUT_H
#define HARDWARE_KERNEL_KERNELLAYOUT_H

#ifdef __cplusplus
#include <cstddef>
#include <cstdint>
#define INLIF_HOLDS(condition) static_assert(condition)
#else
#include <stddef.h>
#include <stdint.h>
#define INLIF_HOLDS(condition) _Static_assert(condition, #condition)
#endif

#ifdef __cplusplus
extern "C" {
#endif

enum {
  kInlifTables = 3, /* by their places in the group: InLif0, InLif1, InLif23 */
  kInlifUnits = 256,
  kInlifUnitEntries = 65536,
  kInlifMatches = 3 * 65536,
  kInlifProfiles = 256,
  kInlifForms = 34,
  kInlifPorts = 1024,
  kInlifCounters = 1 << 20,
  kInlifAddresses = 65536,
};

/* An entry as it stands: the record of the log, with its version behind it. Of the client's bytes those that a switch
 * configuration gives are named; the program looks at no others.
 *
 *   offset  width  field
 *   0       u64    inLifData
 *   8       u64    inLifDataVlan
 *   16      u32    key
 *   20      u32    srv6EndpointCounterIndex
 *   24      u32    l2CrpsIndex
 *   28      u32    l3CrpsIndex
 *   32      u32    fecId
 *   36      u16    vlan              0: untagged
 *   38      u16    mtu
 *   40      u16    tpid              of the outer tag; 0: any
 *   42      u8     kind              1 routed port, 2 VLAN member, 3 sub-interface
 *   43      u8     state             bit 0: up; bits 1 and 2: InlifTagging
 *   44      u16    innerVlan         0: any inner tag, or none
 *   46      39     otherClientBytes
 *   85      u8     learnEnable
 *   86      u8     learnEnableVlan
 *   87      u8     vlanEditProfile   0: leaves tags alone
 *   88      u8     qosProfile        0: leaves the priority alone
 *   89      7      reserved
 *   96      u64    version
 */
struct InlifEntry {
  uint64_t inLifData;
  uint64_t inLifDataVlan;
  uint32_t key;
  uint32_t srv6EndpointCounterIndex;
  uint32_t l2CrpsIndex;
  uint32_t l3CrpsIndex;
  uint32_t fecId;
  uint16_t vlan;
  uint16_t mtu;
  uint16_t tpid;
  uint8_t kind;
  uint8_t state;
  uint16_t innerVlan;
  uint8_t otherClientBytes[39];
  uint8_t learnEnable;
  uint8_t learnEnableVlan;
  uint8_t vlanEditProfile;
  uint8_t qosProfile;
  uint8_t reserved[7];
  uint64_t version;
};
INLIF_HOLDS(sizeof(struct InlifEntry) == 104);
INLIF_HOLDS(offsetof(struct InlifEntry, key) == 16);
INLIF_HOLDS(offsetof(struct InlifEntry, fecId) == 32);
INLIF_HOLDS(offsetof(struct InlifEntry, vlan) == 36);
INLIF_HOLDS(offsetof(struct InlifEntry, mtu) == 38);
INLIF_HOLDS(offsetof(struct InlifEntry, tpid) == 40);
INLIF_HOLDS(offsetof(struct InlifEntry, kind) == 42);
INLIF_HOLDS(offsetof(struct InlifEntry, state) == 43);
INLIF_HOLDS(offsetof(struct InlifEntry, innerVlan) == 44);
INLIF_HOLDS(offsetof(struct InlifEntry, otherClientBytes) == 46);
INLIF_HOLDS(offsetof(struct InlifEntry, learnEnable) == 85);
INLIF_HOLDS(offsetof(struct InlifEntry, learnEnableVlan) == 86);
INLIF_HOLDS(offsetof(struct InlifEntry, vlanEditProfile) == 87);
INLIF_HOLDS(offsetof(struct InlifEntry, qosProfile) == 88);
INLIF_HOLDS(offsetof(struct InlifEntry, version) == 96);

enum { kInlifUp = 1 };
enum InlifTagging { kInlifUntagged = 0, kInlifTagged = 1, kInlifPriorityTagged = 2 };

/* An interface that a frame's tags lead to although the entry's key does not say so.
 *
 *   offset  width  field
 *   0       u32    port     bits 31 to 14 of the keys of the port's entries
 *   4       u16    unit
 *   6       u16    outer    VLAN of the outer tag; 0: no tag, or a priority tag
 *   8       u16    inner    VLAN of the inner tag; 0: any, or none
 *   10      u16    reserved
 */
struct InlifMatch {
  uint32_t port;
  uint16_t unit;
  uint16_t outer;
  uint16_t inner;
  uint16_t reserved;
};
INLIF_HOLDS(sizeof(struct InlifMatch) == 12);
INLIF_HOLDS(offsetof(struct InlifMatch, unit) == 4);
INLIF_HOLDS(offsetof(struct InlifMatch, outer) == 6);
INLIF_HOLDS(offsetof(struct InlifMatch, inner) == 8);

/* An entry by its place.
 *
 *   offset  width  field
 *   0       u16    table    place in the group
 *   2       u16    unit
 *   4       u32    key
 */
struct InlifPlace {
  uint16_t table;
  uint16_t unit;
  uint32_t key;
};
INLIF_HOLDS(sizeof(struct InlifPlace) == 8);
INLIF_HOLDS(offsetof(struct InlifPlace, unit) == 2);
INLIF_HOLDS(offsetof(struct InlifPlace, key) == 4);

/* What an edit profile does to one form of frame; VlanOp of the resource table.
 *
 *   offset  width    field
 *   0       u8       action                   0 none, 1 drop, 2 edit
 *   1, 2    u8 each  tagsRemoved, tagsAdded   0 to 2
 *   3       u8       keepPriority
 *   4, 6    u16      outerVlan, outerTpid
 *   8, 10   u16      innerVlan, innerTpid
 *   12, 13  u8 each  outerPriority, innerPriority
 *   14      u16      editHint
 */
struct InlifEdit {
  uint8_t action;
  uint8_t tagsRemoved;
  uint8_t tagsAdded;
  uint8_t keepPriority;
  uint16_t outerVlan;
  uint16_t outerTpid;
  uint16_t innerVlan;
  uint16_t innerTpid;
  uint8_t outerPriority;
  uint8_t innerPriority;
  uint16_t editHint;
};
INLIF_HOLDS(sizeof(struct InlifEdit) == 16);
INLIF_HOLDS(offsetof(struct InlifEdit, outerVlan) == 4);
INLIF_HOLDS(offsetof(struct InlifEdit, innerVlan) == 8);
INLIF_HOLDS(offsetof(struct InlifEdit, outerPriority) == 12);

enum { kInlifEditNone = 0, kInlifEditDrop = 1, kInlifEditEdit = 2 };

/*   offset  width  field
 *   0       544    edits    by form
 *   544     u32    known    1 once the writer has learned the contents
 */
struct InlifProfile {
  struct InlifEdit edits[kInlifForms];
  uint32_t known;
};
INLIF_HOLDS(sizeof(struct InlifProfile) == 548);
INLIF_HOLDS(offsetof(struct InlifProfile, known) == 544);

/*   offset  width  field
 *   0       u32    port      bits 31 to 14 of the keys of the port's entries
 *   4       u32    egress    ifindex to which its frames go on; 0: to the host's own network stack
 *   8       u16    unit
 *   10      u16    userTpid  a further TPID that makes a tag on this port; 0: none
 */
struct InlifPort {
  uint32_t port;
  uint32_t egress;
  uint16_t unit;
  uint16_t userTpid;
};
INLIF_HOLDS(sizeof(struct InlifPort) == 12);
INLIF_HOLDS(offsetof(struct InlifPort, egress) == 4);
INLIF_HOLDS(offsetof(struct InlifPort, unit) == 8);
INLIF_HOLDS(offsetof(struct InlifPort, userTpid) == 10);

/* What came in on one logical interface, on one CPU.
 *
 *   offset  width  field
 *   0       u64    frames
 *   8       u64    bytes
 *   16      u64    dropped    of the frames
 */
struct InlifCounter {
  uint64_t frames;
  uint64_t bytes;
  uint64_t dropped;
};
INLIF_HOLDS(sizeof(struct InlifCounter) == 24);

/*   offset  width  field
 *   0       6      mac      source address
 *   6       u16    vlan
 */
struct InlifAddress {
  uint8_t mac[6];
  uint16_t vlan;
};
INLIF_HOLDS(sizeof(struct InlifAddress) == 8);

/* Why a frame was dropped. */
enum InlifDrop {
  kInlifDropNoEntry = 0,        /* no logical interface for its port and tags */
  kInlifDropDown = 1,           /* the interface is administratively down */
  kInlifDropProfile = 2,        /* the edit profile says so */
  kInlifDropUnknownProfile = 3, /* the contents of the edit profile are not known */
  kInlifDropMalformed = 4,      /* too short for its tags, or no room for those to be put on */
  kInlifDrops = 5,
};

#ifdef __cplusplus
}
#endif

#endif
