#pragma once
// The program's pictures: toolbar buttons by image number (the desktop's icon theme first, a
// drawn picture when the theme has none), the two status pictures and the window's background
// picture.

#include <QIcon>
#include <QPixmap>

namespace pendara {

QIcon ToolbarIcon(int key);
// The drawn picture of a button, whatever the theme offers.
QPixmap DrawnToolbarPicture(int key, int size);
// Status of the active account: 0 = balance zero, 1 = balance not zero.
QPixmap StatusPicture(int index, int size);
QPixmap BackgroundPicture(QSize size);

}  // namespace pendara
