/* The ingress of the data plane in the kernel: an XDP program on each port.
 *
 * A frame comes in on a port; its tags lead to a logical interface, and the entry of that one says what becomes of it:
 * counted, learned, its tags edited, its priority set, and passed on. Without an entry it is dropped. docs/kernel-hardware.md
 * tells which tags belong to which key. The writer changes the maps under the running program: every lookup finds an entry
 * whole, as it was before a change or after it.
 */
#include <linux/bpf.h>
#include <linux/if_ether.h>

#include <bpf/bpf_endian.h>
#include <bpf/bpf_helpers.h>

#include "KernelLayout.h"

#define ALWAYS static __attribute__((always_inline)) inline

struct UnitMap {
  __uint(type, BPF_MAP_TYPE_HASH);
  __uint(map_flags, BPF_F_NO_PREALLOC);
  __uint(max_entries, kInlifUnitEntries);
  __uint(key_size, sizeof(uint32_t));
  __uint(value_size, sizeof(struct InlifEntry));
};

#define TABLE(name)                          \
  struct {                                   \
    __uint(type, BPF_MAP_TYPE_HASH_OF_MAPS); \
    __uint(max_entries, kInlifUnits);        \
    __type(key, uint32_t);                   \
    __uint(pinning, LIBBPF_PIN_BY_NAME);     \
    __array(values, struct UnitMap);         \
  } name SEC(".maps")

TABLE(inlif0);
TABLE(inlif1);
TABLE(inlif23);

#define MAP(name, kind, flags, most, keyType, valueType) \
  struct {                                               \
    __uint(type, kind);                                  \
    __uint(map_flags, flags);                            \
    __uint(max_entries, most);                           \
    __type(key, keyType);                                \
    __type(value, valueType);                            \
    __uint(pinning, LIBBPF_PIN_BY_NAME);                 \
  } name SEC(".maps")

MAP(inlif_matches, BPF_MAP_TYPE_HASH, BPF_F_NO_PREALLOC, kInlifMatches, struct InlifMatch, struct InlifPlace);
MAP(inlif_profiles, BPF_MAP_TYPE_ARRAY, 0, kInlifProfiles, uint32_t, struct InlifProfile);
MAP(inlif_ports, BPF_MAP_TYPE_HASH, BPF_F_NO_PREALLOC, kInlifPorts, uint32_t, struct InlifPort);
MAP(inlif_counters, BPF_MAP_TYPE_PERCPU_HASH, BPF_F_NO_PREALLOC, kInlifCounters, struct InlifPlace,
    struct InlifCounter);
MAP(inlif_drops, BPF_MAP_TYPE_PERCPU_ARRAY, 0, kInlifDrops, uint32_t, uint64_t);
MAP(inlif_learned, BPF_MAP_TYPE_LRU_HASH, 0, kInlifAddresses, struct InlifAddress, struct InlifPlace);

struct Tag {
  uint16_t control;  /* priority, drop eligible, VLAN; big-endian, as everything in a frame */
  uint16_t nextType; /* what follows */
};

/* What the tags of a frame say. */
struct Frame {
  uint16_t outerTpid; /* in host order; 0: no tag */
  uint16_t outer;     /* VLAN */
  uint16_t inner;
  uint16_t outerControl; /* in host order */
  uint8_t tags;          /* 0 to 3; 3 stands for more too */
  uint8_t form;          /* the slot of an edit profile */
};

struct Found {
  struct InlifPlace place;
  struct InlifEntry* entry;
};

/* The kind of a tag, 0 to 4; negative when the type begins no tag. */
ALWAYS int tagKind(uint16_t type, uint16_t vlan, uint16_t userTpid) {
  if (type == 0x8100) return vlan == 0 ? 0 : 1;
  if (type == 0x88a8) return 2;
  if (type == 0x9100) return 3;
  return userTpid != 0 && type == userTpid ? 4 : -1;
}

/* Reads the tags; negative when the frame ends within them. */
ALWAYS int parse(struct xdp_md* context, uint16_t userTpid, struct Frame* frame) {
  void* const end = (void*)(long)context->data_end;
  struct ethhdr* const ethernet = (void*)(long)context->data;
  if ((void*)(ethernet + 1) > end) return -1;
  uint16_t type = bpf_ntohs(ethernet->h_proto);
  struct Tag* tag = (void*)(ethernet + 1);
  int kinds[2] = {0, 0};
  for (int i = 0; i < 3; ++i) {
    if (tagKind(type, 1, userTpid) < 0) break;
    frame->tags = i + 1;
    if (i == 2) break; /* a third tag is not looked at: its type says that it is there */
    if ((void*)(tag + 1) > end) return -1;
    uint16_t const control = bpf_ntohs(tag->control);
    uint16_t const vlan = control & 0xfff;
    kinds[i] = tagKind(type, vlan, userTpid);
    if (i == 0) {
      frame->outerTpid = type;
      frame->outer = vlan;
      frame->outerControl = control;
    } else {
      frame->inner = vlan;
    }
    type = bpf_ntohs(tag->nextType);
    ++tag;
  }
  if (frame->tags == 0) frame->form = type < 0x600 ? 32 : 0;
  if (frame->tags == 1) frame->form = 1 + kinds[0];
  if (frame->tags == 2) frame->form = 6 + 5 * kinds[0] + kinds[1];
  if (frame->tags == 3) frame->form = 31;
  return 0;
}

ALWAYS struct InlifEntry* entryOf(struct InlifPlace const* place) {
  uint32_t const unit = place->unit;
  uint32_t const key = place->key;
  void* const map = place->table == 0   ? bpf_map_lookup_elem(&inlif0, &unit)
                    : place->table == 1 ? bpf_map_lookup_elem(&inlif1, &unit)
                                        : bpf_map_lookup_elem(&inlif23, &unit);
  return map ? bpf_map_lookup_elem(map, &key) : NULL;
}

/* The interface that stands under a place. The outer tag must be of its type. */
ALWAYS int stands(struct Frame const* frame, struct Found* found) {
  found->entry = entryOf(&found->place);
  if (!found->entry) return 0;
  return frame->outerTpid == 0 || found->entry->tpid == 0 || found->entry->tpid == frame->outerTpid;
}

/* By a match: an exact one of both tags, else one of the outer tag alone. */
ALWAYS int findMatch(struct InlifPort const* port, struct Frame const* frame, struct Found* found) {
  struct InlifMatch match = {
      .port = port->port, .unit = port->unit, .outer = frame->outer, .inner = frame->inner};
  struct InlifPlace* place = bpf_map_lookup_elem(&inlif_matches, &match);
  if (!place && match.inner != 0) {
    match.inner = 0;
    place = bpf_map_lookup_elem(&inlif_matches, &match);
  }
  if (!place) return 0;
  found->place = *place;
  return stands(frame, found);
}

/* By the key that port and outer tag make. An entry of that key must mean these tags. */
ALWAYS int findKey(struct InlifPort const* port, struct Frame const* frame, struct Found* found) {
  found->place.unit = port->unit;
  found->place.key = port->port | frame->outer;
  if (frame->outer == 0) {
    found->place.table = 0;
    return stands(frame, found);
  }
  found->place.table = 1;
  if (stands(frame, found) && (found->entry->state >> 1 & 3) == kInlifTagged) return 1;
  found->place.table = 2;
  return stands(frame, found) && found->entry->vlan == frame->outer && found->entry->innerVlan == 0;
}

ALWAYS int dropped(uint32_t why, struct InlifCounter* counter) {
  uint64_t* const frames = bpf_map_lookup_elem(&inlif_drops, &why);
  if (frames) ++*frames;
  if (counter) ++counter->dropped;
  return XDP_DROP;
}

ALWAYS struct InlifCounter* counterOf(struct InlifPlace const* place) {
  struct InlifCounter* counter = bpf_map_lookup_elem(&inlif_counters, place);
  if (counter) return counter;
  struct InlifCounter const none = {0, 0, 0};
  bpf_map_update_elem(&inlif_counters, place, &none, BPF_NOEXIST);
  return bpf_map_lookup_elem(&inlif_counters, place);
}

ALWAYS void learn(struct xdp_md* context, struct Found const* found) {
  struct ethhdr* const ethernet = (void*)(long)context->data;
  if ((void*)(ethernet + 1) > (void*)(long)context->data_end) return;
  struct InlifAddress address = {.vlan = found->entry->vlan};
  __builtin_memcpy(address.mac, ethernet->h_source, sizeof address.mac);
  if (address.mac[0] & 1) return;
  struct InlifPlace* const known = bpf_map_lookup_elem(&inlif_learned, &address);
  if (known && known->table == found->place.table && known->unit == found->place.unit &&
      known->key == found->place.key)
    return;
  bpf_map_update_elem(&inlif_learned, &address, &found->place, BPF_ANY);
}

/* Takes tags off and puts tags on. The addresses move with the front of the frame. Negative when there is no room. */
ALWAYS int edit(struct xdp_md* context, struct InlifEdit const* how, struct Frame const* frame) {
  uint32_t const removed = how->tagsRemoved > frame->tags ? frame->tags : how->tagsRemoved;
  uint32_t const added = how->tagsAdded;
  if (removed > 2 || added > 2) return -1;
  uint8_t addresses[2 * ETH_ALEN];
  void* end = (void*)(long)context->data_end;
  void* data = (void*)(long)context->data;
  if (data + sizeof(struct ethhdr) + 2 * sizeof(struct Tag) > end) return -1;
  __builtin_memcpy(addresses, data, sizeof addresses);
  if (bpf_xdp_adjust_head(context, (int)(4 * removed) - (int)(4 * added))) return -1;
  data = (void*)(long)context->data;
  end = (void*)(long)context->data_end;
  if (data + sizeof addresses + 4 * 2 > end) return -1;
  __builtin_memcpy(data, addresses, sizeof addresses);
  uint16_t* const words = data + sizeof addresses;
  uint16_t const kept = frame->outerControl & 0xe000;
  uint16_t const priority =
      how->keepPriority && frame->tags > 0 ? kept : (uint16_t)(how->outerPriority & 7) << 13;
  if (added >= 1) {
    words[0] = bpf_htons(how->outerTpid);
    words[1] = bpf_htons(priority | (how->outerVlan & 0xfff));
  }
  if (added == 2) {
    words[2] = bpf_htons(how->innerTpid);
    words[3] = bpf_htons((uint16_t)(how->innerPriority & 7) << 13 | (how->innerVlan & 0xfff));
  }
  return 0;
}

/* Sets the priority: of the outer tag that the frame goes on with, and the code point of a packet of IP behind it. */
ALWAYS void setPriority(struct xdp_md* context, uint8_t profile, uint16_t userTpid) {
  void* const end = (void*)(long)context->data_end;
  struct ethhdr* const ethernet = (void*)(long)context->data;
  if ((void*)(ethernet + 1) > end) return;
  uint16_t type = bpf_ntohs(ethernet->h_proto);
  struct Tag* tag = (void*)(ethernet + 1);
  for (int i = 0; i < 2 && tagKind(type, 1, userTpid) >= 0; ++i) {
    if ((void*)(tag + 1) > end) return;
    if (i == 0) tag->control = bpf_htons((bpf_ntohs(tag->control) & 0x1fff) | (uint16_t)(profile & 7) << 13);
    type = bpf_ntohs(tag->nextType);
    ++tag;
  }
  uint16_t* const words = (void*)tag; /* of the IP header */
  if ((void*)(words + 10) > end) return;
  uint8_t const codePoint = (profile & 63) << 2;
  uint16_t const first = bpf_ntohs(words[0]);
  if (type == ETH_P_IP) {
    uint16_t const changed = (first & 0xff03) | codePoint;
    /* RFC 1624: the checksum follows the one word that changes. */
    uint32_t sum = (uint16_t)~bpf_ntohs(words[5]) + (uint16_t)~first + changed;
    sum = (sum & 0xffff) + (sum >> 16);
    sum = (sum & 0xffff) + (sum >> 16);
    words[0] = bpf_htons(changed);
    words[5] = bpf_htons((uint16_t)~sum);
  } else if (type == ETH_P_IPV6) {
    words[0] = bpf_htons((first & 0xf03f) | (uint16_t)(codePoint << 4));
  }
}

SEC("xdp")
int inlif_ingress(struct xdp_md* context) {
  uint32_t const ifindex = context->ingress_ifindex;
  struct InlifPort* const port = bpf_map_lookup_elem(&inlif_ports, &ifindex);
  if (!port) return XDP_PASS;
  struct Frame frame = {};
  if (parse(context, port->userTpid, &frame)) return dropped(kInlifDropMalformed, NULL);
  struct Found found = {};
  if (!findMatch(port, &frame, &found) && !findKey(port, &frame, &found))
    return dropped(kInlifDropNoEntry, NULL);
  struct InlifEntry* const entry = found.entry;
  if (!entry) return dropped(kInlifDropNoEntry, NULL);
  struct InlifCounter* const counter = counterOf(&found.place);
  if (counter) {
    ++counter->frames;
    counter->bytes += context->data_end - context->data;
  }
  if (!(entry->state & kInlifUp)) return dropped(kInlifDropDown, counter);
  uint8_t const qosProfile = entry->qosProfile;
  uint32_t const number = entry->vlanEditProfile;
  struct InlifProfile* const profile = number ? bpf_map_lookup_elem(&inlif_profiles, &number) : NULL;
  if (profile) {
    if (!profile->known) return dropped(kInlifDropUnknownProfile, counter);
    if (frame.form >= kInlifForms) return dropped(kInlifDropMalformed, counter);
    struct InlifEdit const how = profile->edits[frame.form];
    if (how.action == kInlifEditDrop) return dropped(kInlifDropProfile, counter);
    if (how.action == kInlifEditEdit && edit(context, &how, &frame))
      return dropped(kInlifDropMalformed, counter);
  }
  if (found.place.table == 1 && entry->learnEnable && entry->learnEnableVlan) learn(context, &found);
  if (qosProfile) setPriority(context, qosProfile, port->userTpid);
  return port->egress ? bpf_redirect(port->egress, 0) : XDP_PASS;
}
