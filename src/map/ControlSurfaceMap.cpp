#include "map/ControlSurfaceMap.h"

#include "foundation/Assert.h"

namespace NSKinvar
{
VControlSurfaceMap::VControlSurfaceMap(TText16 manufacturer, TText16 model,
                                       std::shared_ptr<const TItemList> items)
    : fManufacturer(std::move(manufacturer)), fModel(std::move(model)), fItems(std::move(items))
{
    BF_ASSERT(!fManufacturer.empty() && !fModel.empty());
    // A surface without items is a codec's odd choice, not a fault of ours:
    // its map lines are then simply all unknown.
    BF_ASSERT(fItems != nullptr);
}

void VControlSurfaceMap::AddScope(const TScopeKey& key, const VMapScope& scope)
{
    BF_ASSERT(!key.first.empty() && !key.second.empty());
    BF_ASSERT(FindScope(key) == nullptr);
    fScopes.emplace(key, scope);
}

const VMapScope* VControlSurfaceMap::FindScope(const TScopeKey& key) const
{
    const auto found = fScopes.find(key);
    return found == fScopes.end() ? nullptr : &found->second;
}

bool VControlSurfaceMap::Check() const
{
    for (const auto& [key, scope] : fScopes)
        if (!scope.Check())
            return false;
    return true;
}
} // namespace NSKinvar
