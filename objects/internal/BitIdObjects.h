// What the object managers share about objects named by one-bit 64-bit ids:
// handing out a free id and telling two lists apart. `Obj` is any record
// with a uint64_t `id`. Not for hosts.

#ifndef QUARN_OBJECTS_INTERNAL_BITIDOBJECTS_H_
#define QUARN_OBJECTS_INTERNAL_BITIDOBJECTS_H_

#include <stdint.h>

#include <vector>

namespace quarn_objects {

template <typename Obj>
const Obj* FindById(const std::vector<Obj>& objs, uint64_t id) {
  for (const Obj& obj : objs) {
    if (obj.id == id) return &obj;
  }
  return nullptr;
}

// The lowest one-bit id from `first` upward that no object holds; 0 when
// every bit is taken.
template <typename Obj>
uint64_t FirstFreeBitId(const std::vector<Obj>& objs, uint64_t first) {
  for (uint64_t id = first; id != 0; id <<= 1) {
    if (FindById(objs, id) == nullptr) return id;
  }
  return 0;
}

// Clears the three masks, then sets in `only_here` the ids of `here` that
// `there` lacks, in `only_there` the reverse, and in `changed` the ids of
// both whose objects `same(a, b)` finds different. Returns 1 when any mask
// is non-zero.
template <typename Obj, typename Same>
int DiffByBitId(const std::vector<Obj>& here, const std::vector<Obj>& there,
                uint64_t& only_here, uint64_t& only_there, uint64_t& changed,
                Same same) {
  only_here = only_there = changed = 0;
  for (const Obj& obj : here) {
    const Obj* twin = FindById(there, obj.id);
    if (twin == nullptr) {
      only_here |= obj.id;
    } else if (!same(obj, *twin)) {
      changed |= obj.id;
    }
  }
  for (const Obj& obj : there) {
    if (FindById(here, obj.id) == nullptr) only_there |= obj.id;
  }
  return (only_here | only_there | changed) != 0 ? 1 : 0;
}

}  // namespace quarn_objects

#endif  // QUARN_OBJECTS_INTERNAL_BITIDOBJECTS_H_
