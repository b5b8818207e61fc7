/// \file
/// Host media cache (MC): results that are worth keeping, under 128-bit keys and within a budget of bytes.
///
/// Every function may be called from any thread. Items live as long as somebody holds them; the cache is one holder.
#ifndef HOST_MC_H
#define HOST_MC_H

#include <boost/shared_ptr.hpp>
#include <cstdint>

#include "host/Export.h"
#include "host/U.h"
#include "host/vexcore.h"

/// What an item of the cache is derived from.
class HOST_EXPORT MC_Stuff {
 public:
  virtual ~MC_Stuff();
  /// Bytes that the item keeps, for the budget. Called by the cache when the item is filed and by MC_Changed, at no
  /// other time.
  virtual std::uint64_t Bytes() const = 0;

 protected:
  MC_Stuff() = default;
  MC_Stuff(const MC_Stuff&) = default;
  MC_Stuff& operator=(const MC_Stuff&) = default;
};
using MC_StuffRef = boost::shared_ptr<MC_Stuff>;

/// Looks an item up and counts that as a use of it. \param found receives the item, or an empty pointer. \return 0.
HOST_EXPORT U_Err MC_Find(const vexcore::Guid& key, MC_StuffRef* found);

/// Files an item, unless the key has one already. Then the items that were used least recently leave until the budget
/// holds; an item larger than the budget does not stay. \param filed receives the item that the key has now, or the
/// given one when it did not stay. \return 0; 4 when memory is short, with `filed` untouched.
HOST_EXPORT U_Err MC_File(const vexcore::Guid& key, const MC_StuffRef& item, MC_StuffRef* filed);

/// Tells that the size of an item has changed. The budget is enforced again. An item that is not filed under the key
/// is left alone.
HOST_EXPORT void MC_Changed(const vexcore::Guid& key, const MC_Stuff* item);

/// Takes an item out again, if it is what the key has.
HOST_EXPORT void MC_Remove(const vexcore::Guid& key, const MC_Stuff* item);

#endif
