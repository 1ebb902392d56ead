#pragma once
// A whole mapping file in memory: the surface it is written for, its item
// list, and its scopes by (Kinvarable manufacturer, model), keys compared
// without regard to case. Built by the map reader; read-only afterwards.

#include "foundation/TextCompare.h"
#include "map/MapScope.h"

#include <map>
#include <memory>
#include <utility>

namespace NSKinvar
{
using TScopeKey = std::pair<TText16, TText16>;

class VControlSurfaceMap
{
public:
    VControlSurfaceMap(TText16 manufacturer, TText16 model, std::shared_ptr<const TItemList> items);

    const TText16& GetManufacturer() const { return fManufacturer; }
    const TText16& GetModel() const { return fModel; }
    std::shared_ptr<const TItemList> GetItems() const { return fItems; }

    // The stored scope shares its contents with the caller's.
    void AddScope(const TScopeKey& key, const VMapScope& scope);
    const VMapScope* FindScope(const TScopeKey& key) const;
    std::size_t GetScopeCount() const { return fScopes.size(); }
    // Every scope's Check, in key order; false at the first that fails.
    bool Check() const;

private:
    TText16 fManufacturer;
    TText16 fModel;
    std::shared_ptr<const TItemList> fItems;
    std::map<TScopeKey, VMapScope, CMPCaseInsensitiveStringPairLess> fScopes;
};
} // namespace NSKinvar
