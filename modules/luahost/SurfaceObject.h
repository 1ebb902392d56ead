#pragma once
// The surface object that a script's functions get as their first argument:
//   surface.manufacturer, surface.model, surface.items (the item names, in order)
//   surface:input(item, v1 [, v2, v3])   passes an input to the host (in input only)
//   surface:state(item)                  the item's state as the host set it
//   surface:changed([port])              names of the items changed since the
//                                        port's last output call, in item order
//   surface:send(port, msg)              sends a message on an output port
//   surface:item(item)                   the item's description
// Items are given by number, from 1, or by name; ports by number, from 1.

#include "ScriptModel.h"

#include <lua.hpp>

namespace NSLuaHost
{
class CLuaControlSurface;

// Pushes the surface object for the model of surface. Inside a protected call.
void PushSurfaceObject(lua_State* L, CLuaControlSurface& surface, const TScriptModel& model);
} // namespace NSLuaHost
