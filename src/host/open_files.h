#pragma once
// A save holds every entries file of the account's chain open at once (three descriptors each in
// WAL mode: the file, its log and its index), so that the account is written whole. A chain of a
// few hundred years passes the usual soft limit of 1,024 descriptors; the hard limit the system
// grants is far higher, and the programs take it at start.

namespace pendara {

// Raises this process's soft limit of open files to its hard limit; quietly keeps the limit it
// has when the system refuses. Returns the limit in force afterwards (0 where unknown).
long RaiseOpenFileLimit();

}  // namespace pendara
