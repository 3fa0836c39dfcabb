#pragma once

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <array>
#include <functional>
#include <memory>
#include <vector>

namespace lar {

// The state one run of the program shares: the three attachments (company,
// configuration, metadata) with their transactions, the work queries placed on
// the main window, the process-wide shared queries, the user's rights and the
// settings caches. The main window owns the one instance; logic receives it, so
// it runs and is tested without a window.
class Sesion
{
public:
    Sesion();
    ~Sesion();
    Sesion(const Sesion &) = delete;
    Sesion &operator=(const Sesion &) = delete;

    // The company database and its read and update transactions.
    fb::Database &fbDatabase() { return m_fbDatabase; }
    fb::Transaction &fbViewTrans() { return m_fbViewTrans; }
    fb::Transaction &fbUpdateTrans() { return m_fbUpdateTrans; }
    // Microsip's System/Config.fdb.
    fb::Database &fbConfig() { return m_fbConfig; }
    fb::Transaction &fbConfigTrans() { return m_fbConfigTrans; }
    // Microsip's System/Metadatos.fdb (only the version test reads it).
    fb::Database &fbMetadatos() { return m_fbMetadatos; }
    fb::Transaction &fbMetaTrans() { return m_fbMetaTrans; }

    // Work queries of the main window: `Query` (rights, title, ids), `qUpdate`,
    // `QueryAux`, `Query1` (the reset routines), all on fbUpdateTrans; `QueryM` on
    // the metadata database.
    fb::Query &Query() { return *m_query; }
    fb::Query &qUpdate() { return *m_qUpdate; }
    fb::Query &QueryAux() { return *m_queryAux; }
    fb::Query &Query1() { return *m_query1; }
    fb::Query &QueryM() { return *m_queryM; }

    // The settings tree's queries, on fbRegTrans: the tree commits each node on
    // that transaction of its own, so a settings read (which may create a key) or
    // write is durable at once and never commits nor rolls back the screen's
    // pending work on fbUpdateTrans.
    fb::Query &qReg() { return *m_qReg; }
    fb::Query &qRegUpd() { return *m_qRegUpd; }
    fb::Transaction &fbRegTrans() { return m_fbRegTrans; }
    // The object tests' query, on fbUpdateTrans (selects only).
    fb::Query &qQuery() { return *m_qQuery; }

    // A query owned by the session. Lectura: on the database's read transaction,
    // started on use, CHAR fields trimmed. Otherwise on its update transaction,
    // committing after each statement. Base defaults to the company database.
    fb::Query *creaQuery(bool lectura, const QString &nombre, fb::Database *base = nullptr);
    fb::Query *consulta(const QString &nombre) const;

    // Transaction helpers: each does nothing when there is nothing to do.
    void TransInicia();
    void UpdateCommit();
    void UpdateRollback();
    void ConfigInicia();
    void ConfigCommit();
    void ConfigRollback();

    // Rights by module tag, one bit per right; the administrator has 1048575.
    std::array<quint32, 80> Permisos{};
    // The session's user, upper case.
    QString UsuarioActual;
    // "Puntos Larvenos" unless configured otherwise, and the administrator account.
    QString nombrePrograma() const { return m_nombrePrograma; }
    QString usuarioAdministrador() const { return m_administrador; }
    void setNombrePrograma(const QString &n) { m_nombrePrograma = n; }
    void setUsuarioAdministrador(const QString &u) { m_administrador = u; }

    // Settings caches: folder path key -> id, procedure name -> exists. They live
    // as long as the session and are never invalidated.
    QHash<QString, int> RegistroCache;
    QHash<QString, bool> ProcCache;
    // Tables ("NAME") and columns ("TABLE.COLUMN") found by the object tests: an
    // object once there stays for the run (nothing drops them), so only a miss asks
    // the engine again, and a table created meanwhile is then found.
    QSet<QString> ObjetosCache;
    // "7.22.1", set by the Microsip version test.
    QString VersionMicrosip;
    // Full path of "Puntos.ini", set by RutaIni.
    QString IniPuntos;
    // Ends the application (a refused Microsip version). Defaults to quitting the
    // event loops from the next turn of the loop; tests replace it to observe it.
    std::function<void()> terminaAplicacion;

    // Disconnects company, configuration and metadata, in that order.
    void desconecta();

private:
    fb::Database m_fbDatabase;
    fb::Database m_fbConfig;
    fb::Database m_fbMetadatos;
    fb::Transaction m_fbViewTrans{&m_fbDatabase};
    fb::Transaction m_fbUpdateTrans{&m_fbDatabase};
    fb::Transaction m_fbRegTrans{&m_fbDatabase};
    fb::Transaction m_fbConfigTrans{&m_fbConfig};
    fb::Transaction m_fbMetaTrans{&m_fbMetadatos};

    struct Consulta
    {
        QString nombre;
        std::unique_ptr<fb::Query> query;
    };
    std::vector<Consulta> m_consultas;
    std::unique_ptr<fb::Query> m_query, m_qUpdate, m_queryAux, m_query1, m_queryM;
    fb::Query *m_qReg = nullptr;
    fb::Query *m_qRegUpd = nullptr;
    fb::Query *m_qQuery = nullptr;
    QString m_nombrePrograma;
    QString m_administrador;
};

} // namespace lar
