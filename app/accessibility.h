#pragma once

class QMainWindow;
class Ui_Camera;

/// Gives the widgets of the window's form that have no telling text a name that a screen reader
/// speaks, and shows in the menu bar which menu the keyboard is at.
void makeAccessible(QMainWindow *window, const Ui_Camera &form);
