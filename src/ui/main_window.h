#pragma once
// The main window's event handlers on the window state: start-up, the account list click, the
// reload options, the grid cell event and both toolbars. Front ends call them through RunEvent.

#include <cstdint>

namespace pendara {

class Pndra;

// Connects the controls whose changes run handlers (selecting an account list entry loads it).
void ConnectHandlers(Pndra& w);

// Start-up: takes the command line, builds the company catalogue.
void Form_Load(Pndra& w);
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

}  // namespace pendara
