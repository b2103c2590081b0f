#ifndef ZQPROCESSSPAWN_H
#define ZQPROCESSSPAWN_H

#include <string>

/// Where a program that is detached from the console writes to.
///
///     "a/prog" => "a//nohup.out"     "prog" => "//nohup.out"
std::string ZQNohupName(const char* path);

/// _Mynohup() with the name of the output file made beforehand. It allocates nothing, takes no lock and writes past the
/// buffer of standard output, so that the child of a process with threads may call it.
/// @param szOutput  ZQNohupName() of the program
int ZQDetachFromConsole(const char* szOutput);

#endif
