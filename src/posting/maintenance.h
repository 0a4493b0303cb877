#pragma once
// Bulk maintenance over the entries files of every company of the group. None asks first.

namespace pendara {

class Pndra;

// Empties the reference and resets the mark of every entry of every company.
void Command1_Click(Pndra& w);
// Account 4300000138: field 22 becomes the reference, as a system reference; then "FIN".
void Command2_Click(Pndra& w);
// Account 4300000138: every mark reset; then "FIN".
void Command3_Click(Pndra& w);
// Account look-up, then the account list for a short code.
void Command4_Click(Pndra& w);

}  // namespace pendara
