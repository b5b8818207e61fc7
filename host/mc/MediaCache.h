// The media cache.
#pragma once

#include <cstdint>
#include <list>
#include <map>

#include "host/MC.h"
#include "u/Locks.h"

namespace pfhost {

class MediaCache {
 public:
  MC_StuffRef Find(const vexcore::Guid& key);
  // What the key has afterwards, or the item when it did not stay.
  MC_StuffRef File(const vexcore::Guid& key, const MC_StuffRef& item);
  void Changed(const vexcore::Guid& key, const MC_Stuff* item);
  void Remove(const vexcore::Guid& key, const MC_Stuff* item);
  void SetBudget(std::uint64_t bytes);
  void Clear();
  std::uint64_t bytes();

 private:
  struct Entry {
    vexcore::Guid key;
    MC_StuffRef item;
    std::uint64_t bytes;
  };
  using Entries = std::list<Entry>;  // the one used last in front
  // Items that left are let go by whoever made them leave, after the lock is given back.
  using Left = Entries;

  Entries::iterator Lookup(const vexcore::Guid& key, const MC_Stuff* item);
  void TakeOut(Entries::iterator entry, Left& left);
  void Shrink(Left& left);

  Mutex mutex_;
  Entries entries_;
  std::map<vexcore::Guid, Entries::iterator> by_key_;
  std::uint64_t budget_ = std::uint64_t{512} << 20, bytes_ = 0;
};

MediaCache& TheMediaCache();

}  // namespace pfhost
