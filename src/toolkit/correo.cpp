#include "correo.h"

#include <QDateTime>
#include <QUuid>

#include <curl/curl.h>

#include <cstring>
#include <mutex>

namespace lar {

namespace {

void iniciaCurl()
{
    // curl_global_init isn't thread-safe: once, whichever thread comes first.
    static std::once_flag una;
    std::call_once(una, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// Codes that mean the session never got as far as a TLS channel with the server:
// nothing went out. The rest (login, recipients, data) come after connecting.
bool esDeConexion(CURLcode codigo)
{
    switch (codigo) {
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
        return true;
    default:
        return false;
    }
}

struct Lectura
{
    QByteArray datos;
    qsizetype posicion = 0;
};

size_t lee(char *destino, size_t tam, size_t n, void *usuario)
{
    auto *l = static_cast<Lectura *>(usuario);
    const qsizetype quedan = l->datos.size() - l->posicion;
    const qsizetype cuantos = qMin<qsizetype>(quedan, qsizetype(tam * n));
    if (cuantos <= 0)
        return 0;
    std::memcpy(destino, l->datos.constData() + l->posicion, size_t(cuantos));
    l->posicion += cuantos;
    return size_t(cuantos);
}

QByteArray sobre(const QString &direccion)
{
    return '<' + direccion.trimmed().toUtf8() + '>';
}

} // namespace

Correo::Correo(CuentaCorreo cuenta)
    : m_cuenta(std::move(cuenta))
{}

QStringList Correo::destinatarios(const QString &campo)
{
    QStringList out;
    const QStringList partes = campo.split(u';');
    for (const QString &p : partes) {
        const QString limpia = p.trimmed();
        if (!limpia.isEmpty())
            out << limpia;
    }
    return out;
}

QByteArray Correo::texto(const MensajeCorreo &mensaje)
{
    QByteArray t;
    t += "Date: " + QDateTime::currentDateTime().toString(Qt::RFC2822Date).toLatin1() + "\r\n";
    t += "From: " + mensaje.de.toUtf8() + "\r\n";
    t += "To: " + mensaje.para.join(QStringLiteral(", ")).toUtf8() + "\r\n";
    t += "Subject: " + mensaje.asunto.toUtf8() + "\r\n";
    t += "Message-ID: <" + QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + "@larvenos>\r\n";
    t += "MIME-Version: 1.0\r\n";
    t += "Content-Type: text/plain; charset=UTF-8\r\n";
    t += "Content-Transfer-Encoding: 8bit\r\n";
    t += "\r\n";
    QByteArray cuerpo = mensaje.cuerpo.toUtf8();
    cuerpo.replace("\r\n", "\n").replace('\n', "\r\n");
    t += cuerpo + "\r\n";
    return t;
}

Correo::Resultado Correo::envia(const MensajeCorreo &mensaje) const
{
    Resultado r;
    iniciaCurl();
    CURL *curl = curl_easy_init();
    if (!curl) {
        r.errorConexion = QStringLiteral("No se pudo iniciar el cliente de correo.");
        return r;
    }
    char error[CURL_ERROR_SIZE] = {};
    Lectura lectura{texto(mensaje), 0};
    const QByteArray url
        = "smtp://" + m_cuenta.host.trimmed().toUtf8() + ':' + QByteArray::number(m_cuenta.puerto);
    const QByteArray usuario = m_cuenta.usuario.toUtf8();
    const QByteArray password = m_cuenta.password.toUtf8();
    const QByteArray de = sobre(mensaje.de);
    curl_slist *rcpt = nullptr;
    for (const QString &p : mensaje.para)
        rcpt = curl_slist_append(rcpt, sobre(p).constData());

    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
    curl_easy_setopt(curl, CURLOPT_URL, url.constData());
    curl_easy_setopt(curl, CURLOPT_USE_SSL, long(CURLUSESSL_ALL));
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(curl, CURLOPT_USERNAME, usuario.constData());
    curl_easy_setopt(curl, CURLOPT_PASSWORD, password.constData());
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, de.constData());
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, rcpt);
    // A refused address doesn't keep the mail from the others.
#if LIBCURL_VERSION_NUM >= 0x080200
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT_ALLOWFAILS, 1L);
#else
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L); // its name before curl 8.2
#endif
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, lee);
    curl_easy_setopt(curl, CURLOPT_READDATA, &lectura);
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, 30L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 120L);

    const CURLcode codigo = curl_easy_perform(curl);
    if (codigo != CURLE_OK) {
        const QString texto = QString::fromUtf8(error[0] ? error : curl_easy_strerror(codigo));
        if (esDeConexion(codigo)) {
            r.errorConexion = texto;
        } else {
            r.conectado = true;
            r.errorEnvio = texto;
        }
    } else {
        r.conectado = true;
    }
    curl_slist_free_all(rcpt);
    curl_easy_cleanup(curl);
    return r;
}

} // namespace lar
