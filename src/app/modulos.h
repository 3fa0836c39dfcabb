#pragma once

namespace lar {

// Registers the row of every module of the program in the dispatch (NavegaMod).
void RegistraModulos();

} // namespace lar
