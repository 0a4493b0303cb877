#pragma once
// Bulk maintenance over the entries files of every company of the catalogue. None asks first.

namespace pendara {

class Session;

// Empties the reference and resets the mark of every entry of every company; each company becomes
// the current one as it is cleared.
void ClearAllReferences(Session& s);
// Account 4300000138: a non-blank field 22 becomes the reference, as a system reference.
void CopyField22ToReferences(Session& s);
// Account 4300000138: every mark back to "0".
void ResetFixedAccountMarks(Session& s);

}  // namespace pendara
