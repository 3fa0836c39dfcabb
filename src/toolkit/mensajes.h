#pragma once

#include <QFlags>
#include <QString>

#include <functional>

namespace lar {

// Message-box flags and answers, typed, with the values of the classic Windows API
// (YesNo | IconQuestion | DefButton2 is 292): one choice of buttons, one icon, one
// default button, combined with |.
namespace mb {
enum Estilo : int {
    Ok = 0,
    OkCancel = 1,
    AbortRetryIgnore = 2,
    YesNoCancel = 3,
    YesNo = 4,
    RetryCancel = 5,
    IconStop = 16,
    IconQuestion = 32,
    IconWarning = 48,
    IconInformation = 64,
    DefButton2 = 256,
    DefButton3 = 512,
    SystemModal = 4096,
};
Q_DECLARE_FLAGS(Estilos, Estilo)
Q_DECLARE_OPERATORS_FOR_FLAGS(Estilos)

// The button pressed.
enum Respuesta : int {
    IdOk = 1,
    IdCancel = 2,
    IdAbort = 3,
    IdRetry = 4,
    IdIgnore = 5,
    IdYes = 6,
    IdNo = 7,
};
} // namespace mb

// One message box as the program asked for it.
struct CajaMensaje
{
    QString texto;
    QString titulo;
    mb::Estilos flags;

    int botones() const { return flags.toInt() & 0x0F; }
    int icono() const { return flags.toInt() & 0xF0; }
    // 1-based position of the default button.
    int predeterminado() const { return ((flags.toInt() & 0xF00) >> 8) + 1; }
};

// Every message box of the program goes through here. Without an answerer the
// box is shown (Spanish buttons, system-modal); tests install one that records
// the box and answers it.
class ServicioMensajes
{
public:
    // Answers with an mb::Respuesta.
    using Respondedor = std::function<int(const CajaMensaje &)>;
    static mb::Respuesta muestra(const CajaMensaje &caja);
    static void instalaRespondedor(Respondedor r);
    static bool tieneRespondedor();
};

// Shows Texto with the caption and the flags Icono (plus system-modal) and
// returns the button pressed; resets the wait cursor first.
mb::Respuesta MensajeSistema(const QString &texto, const QString &titulo, mb::Estilos icono);

// "Aviso", "Error" or "Ex": the three standard notices; any other class shows nothing.
void MuestraAviso(const QString &texto, const QString &clase);

} // namespace lar
