#pragma once

#include <QMenu>
#include <QMenuBar>
#include <QWidget>

// Interface texts are written as "@@key"; these walks replace them once by the words for the keys.
namespace qv
{

// The menu's own title, then its items', sub-menus included. Gives the number of texts replaced.
int localizeMenu(QMenu *menu);
int localizeMenu(QMenuBar *bar);
// The window's title, then what is in it.
int localizeWindow(QWidget *window);
// The texts of a widget and of all below it: group boxes, the items of pop-up menus, buttons (whose
// width is brought to the new title), labels, placeholders of fields, headers of tables, tabs,
// segments; tool tips and the names for screen readers, too.
int localizeView(QWidget *view);

// A button whose title is replaced is as wide as the title wants, and never narrower than this.
inline constexpr int smallestButtonWidth = 96;
inline constexpr int buttonTitleMargin = 38;
// Property "tag" of a button that keeps its frame.
inline constexpr int keepsFrameTag = 12345;
// Property "anchor" of a button outside of a layout: the edge that stays in its place.
enum class ButtonAnchor { None = 0, Left = 1, Right = 2 };

} // namespace qv
