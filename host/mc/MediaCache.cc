#include "mc/MediaCache.h"

#include <iterator>
#include <new>

#include "embedded/PFhost.h"

namespace pfhost {

MC_StuffRef MediaCache::Find(const vexcore::Guid& key) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = by_key_.find(key);
  if (found == by_key_.end()) return {};
  entries_.splice(entries_.begin(), entries_, found->second);
  return found->second->item;
}

MC_StuffRef MediaCache::File(const vexcore::Guid& key, const MC_StuffRef& item) {
  Left left;
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto [place, is_new] = by_key_.try_emplace(key);
  if (is_new) {
    try {
      entries_.push_front({key, item, item->Bytes()});
    } catch (...) {
      by_key_.erase(place);
      throw;
    }
    place->second = entries_.begin();
    bytes_ += entries_.front().bytes;
    Shrink(left);
    return item;
  }
  entries_.splice(entries_.begin(), entries_, place->second);
  return place->second->item;
}

void MediaCache::Changed(const vexcore::Guid& key, const MC_Stuff* item) {
  Left left;
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto entry = Lookup(key, item);
  if (entry == entries_.end()) return;
  bytes_ -= entry->bytes;
  entry->bytes = item->Bytes();
  bytes_ += entry->bytes;
  Shrink(left);
}

void MediaCache::Remove(const vexcore::Guid& key, const MC_Stuff* item) {
  Left left;
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto entry = Lookup(key, item);
  if (entry != entries_.end()) TakeOut(entry, left);
}

void MediaCache::SetBudget(std::uint64_t bytes) {
  Left left;
  const std::lock_guard<std::mutex> lock(mutex_);
  budget_ = bytes;
  Shrink(left);
}

void MediaCache::Clear() {
  Left left;
  const std::lock_guard<std::mutex> lock(mutex_);
  by_key_.clear();
  left.swap(entries_);
  bytes_ = 0;
}

std::uint64_t MediaCache::bytes() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return bytes_;
}

MediaCache::Entries::iterator MediaCache::Lookup(const vexcore::Guid& key, const MC_Stuff* item) {
  const auto found = by_key_.find(key);
  return found != by_key_.end() && found->second->item.get() == item ? found->second : entries_.end();
}

void MediaCache::TakeOut(Entries::iterator entry, Left& left) {
  bytes_ -= entry->bytes;
  by_key_.erase(entry->key);
  left.splice(left.begin(), entries_, entry);
}

void MediaCache::Shrink(Left& left) {
  while (bytes_ > budget_ && !entries_.empty()) TakeOut(std::prev(entries_.end()), left);
}

MediaCache& TheMediaCache() {
  static MediaCache cache;
  return cache;
}

}  // namespace pfhost

MC_Stuff::~MC_Stuff() = default;

U_Err MC_Find(const vexcore::Guid& key, MC_StuffRef* found) {
  *found = pfhost::TheMediaCache().Find(key);
  return 0;
}

U_Err MC_File(const vexcore::Guid& key, const MC_StuffRef& item, MC_StuffRef* filed) {
  try {
    *filed = pfhost::TheMediaCache().File(key, item);
    return 0;
  } catch (const std::bad_alloc&) {
    return 4;
  }
}

void MC_Changed(const vexcore::Guid& key, const MC_Stuff* item) { pfhost::TheMediaCache().Changed(key, item); }

void MC_Remove(const vexcore::Guid& key, const MC_Stuff* item) { pfhost::TheMediaCache().Remove(key, item); }

void PFhost_SetMediaCacheBudget(std::uint64_t bytes) { pfhost::TheMediaCache().SetBudget(bytes); }

std::uint64_t PFhost_MediaCacheBytes() { return pfhost::TheMediaCache().bytes(); }
