#pragma once

#include "reinicio.h"
#include "toolkit/correo.h"

#include <QDate>
#include <QDateTime>
#include <QString>

#include <functional>
#include <vector>

namespace lar {

class Sesion;
class TfMain;

// What the settings say about the scheduled reset.
struct ProgramaReinicio
{
    // "Reiniciar Puntos Automaticamente" is 'S' and a date is set.
    bool activo = false;
    // R, the reset date, and A = R - D, the day the notices start.
    QDate fecha;
    QDate aviso;
    int dias = 0;
    // The text of the date when it couldn't be read.
    QString fechaInvalida;

    // From the day A through the day before R (never, with D = 0).
    bool enVentana(const QDateTime &ahora) const;
    // On or after the day R.
    bool vencido(const QDateTime &ahora) const;
};

// A row of the notices' working list (mCorreos).
struct FilaCorreo
{
    int IDC = 0;
    QString NombreCliente;
    QString Puntos;
    QString Email;
};

// One notice ready to go: everything read from the database beforehand, so the
// sending needs no session and may run on another thread.
struct AvisoCorreo
{
    CuentaCorreo cuenta;
    MensajeCorreo mensaje;
    // The address field as given (or the sender's, when it was blank).
    QString destino;
};

// Dates as the notice says them: "05/Ene/2027".
QString FechaAviso(const QDate &fecha);

// The scheduled half of the points reset: the notices by e-mail before the date,
// the reset on or after it, as the main window's check drives them.
class AvisosReinicio
{
public:
    explicit AvisosReinicio(Sesion &sesion);

    // Steps of the check, each usable alone.
    ProgramaReinicio leePrograma();
    // The customers with mail not yet noticed for the date, one row per address,
    // by name; a row without balance lets the next one through unchecked.
    // Database errors go to the caller.
    std::vector<FilaCorreo> listaCorreos(const QDate &fecha);
    // Reads the sender account and the company and builds the notice; logs when
    // there is no sender. A database error comes back as "Error al crear archivo
    // PDF:" and the text, unless the address is empty (then it is swallowed and
    // the notice has no recipient).
    AvisoCorreo preparaAviso(const QString &email,
                             const QString &nombre,
                             const QString &puntos,
                             const QDate &fecha);
    // Sends and logs the outcome; true unless the server couldn't be reached.
    // Needs no session: safe on a worker thread.
    static bool enviaAviso(const AvisoCorreo &aviso);
    // Both, one after the other.
    bool EnviaAvisoReinicio(const QString &email,
                            const QString &nombre,
                            const QString &puntos,
                            const QDate &fecha);
    // Records one notice and commits it. Database errors go to the caller.
    void registraAviso(const FilaCorreo &fila, const ProgramaReinicio &programa);
    bool reinicioHecho(const QDate &fecha);
    // The reset up to the date, with its marks; an error text starts with "Error
    // al inicializar puntos".
    ReinicioPuntos::Resultado ReiniciaPuntos(const QDate &fecha);

    // Sends one notice (index and total for progress) and says whether it counts
    // as sent; enviaAviso by default.
    using Envio = std::function<bool(const AvisoCorreo &aviso, int indice, int total)>;

    struct Revision
    {
        // The notices were cut short: the text for the box.
        QString errorAvisos;
        int avisosEnviados = 0;
        bool reinicioIntentado = false;
        ReinicioPuntos::Resultado reinicio;
    };
    // The whole check at the moment given: notices inside the window, each recorded
    // right after its own mail, then the reset when it is due and not done.
    Revision RevisaReinicio(const QDateTime &ahora, const Envio &envio = {});

    // The working list of the last check.
    std::vector<FilaCorreo> mCorreos;

private:
    Sesion &m_sesion;
};

// tmrReinicio's routine: the check on the main window's session, the mails on a
// worker thread with their progress in the window, the boxes at the end.
void RevisaReinicio(TfMain &main);

} // namespace lar
