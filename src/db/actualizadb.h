#pragma once

#include "fb/query.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

namespace lar {

class Sesion;

// The schema upgrade of a company database, without a window: runs the five
// scripts of the extension from the start (what exists already fails and is passed
// over), creates the report folders in the configuration database and writes the
// schema version. TfDBScript drives it; so do tools and tests.
class ActualizaDB
{
public:
    // Receives each log line, already formatted ("10:42: Inicia", or "" for an
    // empty line).
    using Bitacora = std::function<void(const QString &linea)>;
    // Shows a notice to the user; by default a message box "Aviso del sistema".
    using Aviso = std::function<void(const QString &texto)>;

    explicit ActualizaDB(Sesion &s);
    ~ActualizaDB();

    // The scripts in running order: sTablas, sDatos, sIndices, sProcs, sPermisos.
    static QStringList nombresScripts();
    // A script as compiled in, decoded from Windows-1252.
    static QString textoScript(const QString &nombre);
    // Raw bytes of a script as compiled in.
    static QByteArray bytesScript(const QString &nombre);

    // Runs texto in place of the compiled-in script of that name.
    void setScript(const QString &nombre, const QString &texto);
    void setBitacora(Bitacora b) { m_bitacora = std::move(b); }
    void setAviso(Aviso a) { m_aviso = std::move(a); }

    // Refuses, after a notice, a database whose PuntosLar_DB is newer than this
    // program; nothing is touched then.
    bool versionAceptada();
    // The scripts, the report folders and the version. Statement and step errors
    // are passed over (a step's error is logged); the version is written anyway.
    void ejecuta();
    // versionAceptada(), then ejecuta(); false when refused.
    bool Actualiza();

    void CreaCarpetas();
    int CreaCarpeta(const QString &nombre, int padre);

    // "<short time>: texto", or an empty line for an empty texto.
    void Log(const QString &texto);

private:
    void ejecutaScripts();

    Sesion &m_s;
    fb::Query m_qConfig;
    fb::Query m_qConfig2;
    QHash<QString, QString> m_reemplazos;
    Bitacora m_bitacora;
    Aviso m_aviso;
};

// The upgrade for a session that has the company (and, for the report folders, the
// configuration database) connected. Returns false when refused.
bool ActualizaBaseDatos(Sesion &s, const ActualizaDB::Bitacora &bitacora = {});

// Connects the company database `empresa` and the configuration database `config`
// with `parametros` ("lc_ctype=None", "user_name=SYSDBA"...), upgrades the company
// and disconnects. A refusal goes to the log too. Connection errors throw fb::Error.
bool ActualizaEmpresa(const QString &empresa,
                      const QString &config,
                      const QStringList &parametros,
                      const ActualizaDB::Bitacora &bitacora = {});

} // namespace lar
