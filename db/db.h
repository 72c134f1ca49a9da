// The table engine as the programs see it.
#pragma once

namespace tarnel {

// Hands the engine's hooks to the language core: areas, fields, and the closing of all tables at
// the end of a run. A program calls it once, before the runtime starts.
void init_db();

}  // namespace tarnel
