#pragma once

#include "foundation/Value.h"

using GVariant = struct _GVariant;

namespace corvane {

// The one mapping between Value and GVariant, used on every D-Bus message:
//   bool b, integer x, real d, string s, data ay, array av, dictionary a{sv},
//   date ("date", seconds since 1970) as (sd), null ("null") as (s).
// D-Bus has neither a date nor a null, hence the two tagged structures.
//
// toGVariant returns a floating reference, as GLib constructors do.
GVariant* toGVariant(const Value& value);
// Reads any GVariant: other integer types become integers (t above 2^63-1 saturates), o and g
// strings, a{s*} dictionaries, other arrays and structures arrays, v and maybe are unwrapped.
Value fromGVariant(GVariant* variant);

} // namespace corvane
