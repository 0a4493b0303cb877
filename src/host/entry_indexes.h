#pragma once
// Bringing the indexes of an existing entries file up to date.

namespace pendara {

class Db;

// Replaces an index of an entries file that an earlier version defined differently; whether it
// did. To be called inside a write transaction of `db`, so that the change commits whole with it
// or not at all.
bool UpgradeEntryIndexes(Db& db);

}  // namespace pendara
