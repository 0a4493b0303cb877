#pragma once
// The main window's event handlers on the window state: start-up, the account list click, the
// reload options, the grid cell event and both toolbars. Front ends call them through RunEvent.

#include <cstdint>
#include <string>

namespace pendara {

class Pndra;

// Connects the controls whose changes run handlers (selecting an account list entry loads it).
void ConnectHandlers(Pndra& w);

// Start-up: takes the command line, builds the company catalogue.
void Form_Load(Pndra& w);
// Builds the catalogue and shows it in the company list (List1), whose first entry is selected.
void LoadEmpresas(Pndra& w);
// First activation: with a command line, lists, selects, loads and saves the named account.
void Form_Activate(Pndra& w);
// Unload mode 2 is the end of the user's session: the window goes at once, nothing is saved.
void Form_QueryUnload(Pndra& w, int& cancel, int unloadMode);

// Makes the selected account list entry the active account, loads, matches and saves it.
void List2_Click(Pndra& w);
// Reloads the active account: index 1 as a list click, index 0 without saving.
void Option1_Click(Pndra& w, int index);
// Cell event of SGrid1 (grid 1) or SGrid2 (grid 2); modifier 1 assigns newref to the row.
void SGrid_Click(Pndra& w, int grid, int unused, int modifier, int row, int col);
// Double click on an account-state picture saves the active account.
void Image1_DblClick(Pndra& w);
// Both grids emptied to one blank row.
void ClearGrids(Pndra& w);
// Opens the help page.
void Ayuda_Click(Pndra& w);

void Toolbar1_Click(Pndra& w, int key);
void Toolbar2_Click(Pndra& w, int key);

// List2_Click's steps before the account is loaded: the active account cut from the entry, the
// grids and the sums emptied, the frames' captions; false when the entry names no account.
bool StartAccount(Pndra& w, const std::string& entry);

}  // namespace pendara
