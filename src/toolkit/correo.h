#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace lar {

// The account a mail goes out through: the login is the sender's address.
struct CuentaCorreo
{
    QString host;
    int puerto = 0;
    QString usuario;
    QString password;
};

struct MensajeCorreo
{
    QString de;
    QStringList para;
    QString asunto;
    // One plain text, sent as UTF-8.
    QString cuerpo;
};

// SMTP through libcurl: STARTTLS required, login with user and password, the peer's
// certificate not verified (shops use whatever their provider gives them). A plain
// object with no Qt parent: one call per mail, safe on a worker thread.
class Correo
{
public:
    struct Resultado
    {
        // The session reached the server and upgraded to TLS. Failing that, nothing
        // was sent and errorConexion says why.
        bool conectado = false;
        QString errorConexion;
        // Connected, but the login, a recipient or the data was refused.
        QString errorEnvio;
    };

    explicit Correo(CuentaCorreo cuenta);

    Resultado envia(const MensajeCorreo &mensaje) const;

    // The parts of an address field cut at ';', trimmed, empty ones left out.
    static QStringList destinatarios(const QString &campo);
    // The message as it goes on the wire: headers, blank line, body, CRLF endings.
    static QByteArray texto(const MensajeCorreo &mensaje);

private:
    CuentaCorreo m_cuenta;
};

} // namespace lar
