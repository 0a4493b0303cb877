#pragma once
// The settings every connection to a data file starts with, for a user that changed some of
// them for a while on a connection that others use too.

namespace pendara {

class Db;

// Puts back the syncs, the automatic checkpoints and the busy timeout a connection is opened
// with (Db).
void RestoreConnectionSettings(Db& db);

}  // namespace pendara
