#pragma once

#include <QChar>
#include <QList>
#include <QString>
#include <QStringList>

namespace fb {
class Database;
}

namespace microsip {

// A Microsip user: a database account (with a password when a server checks it),
// a row in USUARIOS and the role USUARIO_MICROSIP in every database.
// accesoEmpresas 'L' limits the user to `empresas`; any other value sees them all.
struct Usuario
{
    QString nombre;
    QString password;
    QChar accesoEmpresas = u'T';
    QStringList empresas;
};

struct OpcionesEntorno
{
    QStringList empresas{QStringLiteral("DEMO")};
    // Newer Microsip: FOLIOS_CONCEPTOS and SUCURSAL_ID in the documents.
    bool foliosConceptos = true;
    // The outside replication queue LAR_SYNC_ID.
    bool larSync = false;
    // Empty: embedded engine. "127.0.0.1/3061": through that server.
    QString servidor;
    QString passwordSysdba;
    QString versionSis = QStringLiteral("72201");
    QList<Usuario> usuarios;
    // Name of the connection profile (an XML element name).
    QString nombreConexion = QStringLiteral("Demo");
};

// A Microsip installation in one folder: the data folder (System/Config.fdb,
// System/Metadatos.fdb, <NOMBRE_CORTO>.fdb) and, beside the data, the two
// folders where Microsip keeps its XML settings. Errors throw fb::Error with a
// Spanish message; a failed crea() leaves nothing behind.
class Entorno
{
public:
    Entorno() = default;

    static Entorno crea(const QString &carpeta, const OpcionesEntorno &opciones);
    // Reads the connection profile written by crea(). The SYSDBA password isn't
    // kept anywhere: give it when the environment goes through a server.
    static Entorno abre(const QString &carpeta, const QString &passwordSysdba = {});

    QString carpeta() const { return m_carpeta; }
    QString servidor() const { return m_servidor; }
    QString nombreConexion() const { return m_nombreConexion; }
    QString passwordSysdba() const { return m_passwordSysdba; }
    void setPasswordSysdba(const QString &password) { m_passwordSysdba = password; }

    // Database names as the program builds them: with "server:" in front when
    // the environment goes through a server.
    QString rutaEmpresa(const QString &nombreCorto) const;
    QString rutaConfig() const;
    QString rutaMetadatos() const;
    // The connection profile's `Path`: the data folder with its final "/".
    QString path() const;

    // Common application data folder: holds Microsip/ProgramData.xml with the
    // connection profile.
    QString carpetaComun() const;
    // The user's local application data folder: Microsip/ProgramData.xml with the
    // last user and connection.
    QString carpetaLocal() const;
    QString xmlComun() const;
    QString xmlUsuario() const;

    // "lc_ctype=None", "user_name=...", "password=...", "sql_role_name=USUARIO_MICROSIP".
    // SYSDBA without a password takes the environment's.
    QStringList parametros(const QString &usuario = QStringLiteral("SYSDBA"),
                           const QString &password = {}) const;
    void conecta(fb::Database &db,
                 const QString &ruta,
                 const QString &usuario = QStringLiteral("SYSDBA"),
                 const QString &password = {}) const;

    // NOMBRE_CORTO of the companies registered in the configuration database.
    QStringList empresas() const;
    // Throws the Spanish message for a company that isn't registered or has no file.
    void verificaEmpresa(const QString &nombreCorto) const;

    // The user name Microsip puts in the user XML (á é í ó ú become "_").
    static QString usuarioSistema();

private:
    QString prefijo() const;

    QString m_carpeta;
    QString m_servidor;
    QString m_passwordSysdba;
    QString m_nombreConexion;
};

} // namespace microsip
