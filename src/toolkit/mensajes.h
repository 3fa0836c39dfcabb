#pragma once

#include <QString>

#include <functional>

namespace lar {

// Message-box flags and answers, with the values of the classic Windows API that
// the screens pass (292 = Yes/No + question + second button default).
namespace mb {
constexpr int Ok = 0;
constexpr int OkCancel = 1;
constexpr int AbortRetryIgnore = 2;
constexpr int YesNoCancel = 3;
constexpr int YesNo = 4;
constexpr int RetryCancel = 5;
constexpr int IconStop = 16;
constexpr int IconQuestion = 32;
constexpr int IconWarning = 48;
constexpr int IconInformation = 64;
constexpr int DefButton2 = 256;
constexpr int DefButton3 = 512;
constexpr int SystemModal = 4096;

constexpr int IdOk = 1;
constexpr int IdCancel = 2;
constexpr int IdAbort = 3;
constexpr int IdRetry = 4;
constexpr int IdIgnore = 5;
constexpr int IdYes = 6;
constexpr int IdNo = 7;
} // namespace mb

// One message box as the program asked for it.
struct CajaMensaje
{
    QString texto;
    QString titulo;
    int flags = 0;

    int botones() const { return flags & 0x0F; }
    int icono() const { return flags & 0xF0; }
    // 1-based position of the default button.
    int predeterminado() const { return ((flags & 0xF00) >> 8) + 1; }
};

// Every message box of the program goes through here. Without an answerer the
// box is shown (Spanish buttons, system-modal); tests install one that records
// the box and answers it.
class ServicioMensajes
{
public:
    using Respondedor = std::function<int(const CajaMensaje &)>;
    static int muestra(const CajaMensaje &caja);
    static void instalaRespondedor(Respondedor r);
    static bool tieneRespondedor();
};

// Shows Texto with the caption and the flags Icono (plus system-modal) and
// returns the button pressed; resets the wait cursor first.
int MensajeSistema(const QString &texto, const QString &titulo, int icono);

// "Aviso", "Error" or "Ex": the three standard notices; any other class shows nothing.
void MuestraAviso(const QString &texto, const QString &clase);

} // namespace lar
