#pragma once

class QMainWindow;
class Ui_Camera;

/// Names the form's widgets that have no telling text, for screen readers, and makes the menu bar
/// highlight the menu that has the keyboard.
void makeAccessible(QMainWindow *window, const Ui_Camera &form);
