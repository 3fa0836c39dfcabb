#pragma once

class QAbstractButton;
class QLineEdit;
class QWidget;

namespace lar {

// Enter or Return on the focused button presses it, as Space does, without making
// it the dialog's default button: Enter in the fields keeps its own meaning.
void EnterPulsa(QAbstractButton *boton);

// Gives `w` the focus as a Tab would, so the style draws the focus frame on it
// (a focus set by program otherwise leaves a button looking unfocused).
void EnfocaConTeclado(QWidget *w);

// A password field: what is typed shows as '*', whatever the style's own mask.
void CampoContrasena(QLineEdit *campo);

} // namespace lar
