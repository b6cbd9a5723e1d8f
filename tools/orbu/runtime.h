// The runtime folder that came with this program: the companion, the framework folder and the custom
// environment file that names them.
#pragma once

#include <string>

// What stands at a path relative to this program's folder; no absolute path when it cannot be told where that
// is.
std::string beside_program(char const* path);

// Puts the file of the own runtime in force when the environment names no other, and gives the process a HOME
// when it has none. Before anything asks where things are.
void use_own_runtime();

// Whether the file in force was put there by use_own_runtime().
bool uses_own_runtime();

// Takes back what use_own_runtime() put into the environment, for a program that is to find it as it was.
void restore_environment();
