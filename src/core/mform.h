#pragma once

#include <QDialog>
#include <QStringList>

#include <functional>

class QComboBox;
class QKeyEvent;
class QPushButton;

namespace lar {

// Base of the module forms. Embedded in the main window's panel (borderless,
// filling it) unless its design-time Tag is -1, or shown modally as a dialog.
// Carries the module's rights (Acceso), the captions of the header's filter box
// and the function-key rule: F5..F12 click every enabled push button whose Tag is
// -5..-12, in component order.
class TMForm : public QDialog
{
    Q_OBJECT
public:
    enum class AccionCierre { Ninguna, Ocultar, Liberar };

    explicit TMForm(QWidget *parent = nullptr);
    ~TMForm() override;

    // Permisos[tag] as it stood when the form was opened.
    quint32 Acceso = 0;
    // Captions for the header's filter box; empty means no filter box.
    QStringList Filtros;
    // Filter selected when the form comes to the top; -1 at creation.
    int FiltroIndice = -1;
    // Key suffix (and caption when given) the form was opened with.
    QString Titulo;

    // Called when the module is opened or found open with a parameter.
    virtual void DoIt(const QString &parametro);
    // The header's filter box changed while this form is on top.
    virtual void DoFiltroChange(QComboBox *sender);

    // The form's key handlers; the main window forwards its keys here while the
    // form is on top. True when the key was used.
    virtual bool FormKeyDown(QKeyEvent *ev);
    virtual bool FormKeyUp(QKeyEvent *ev);

    // Runs when the form is closed; the handler may change what happens to it.
    std::function<void(TMForm *, AccionCierre &)> OnClose;

    bool cerrando() const { return m_cerrando; }
    bool embebida() const { return !isWindow(); }

protected:
    // The end of the design: a subclass calls it once its controls exist, before
    // its own start-up code (else it runs on the first show). Clamps the width to
    // the screen and gives the date pickers their period by Tag: 1 first day of
    // the month, 2 last day, anything else today.
    void terminaDiseno();
    // A push button of the form named as designed. Never a default button: Enter
    // belongs to the form's boxes and grids.
    QPushButton *Boton(const QString &nombre, const QString &texto);

    bool event(QEvent *ev) override;
    void closeEvent(QCloseEvent *ev) override;
    void keyPressEvent(QKeyEvent *ev) override;
    void keyReleaseEvent(QKeyEvent *ev) override;

private:
    bool m_disenoTerminado = false;
    bool m_cerrando = false;
};

} // namespace lar
