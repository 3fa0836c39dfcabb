#include "entornoprueba.h"

#include "testenv.h"

#include "core/sesion.h"
#include "fb/database.h"
#include "fb/error.h"
#include "fb/script.h"
#include "fb/transaction.h"
#include "fb/win1252.h"

#include <QFile>

namespace lartest {

namespace {

microsip::OpcionesEntorno opcionesEntorno(const OpcionesPrueba &op)
{
    microsip::OpcionesEntorno e;
    e.empresas = op.empresas;
    e.foliosConceptos = op.foliosConceptos;
    e.larSync = op.larSync;
    e.usuarios = op.usuarios;
    if (op.servidor) {
        // "127.0.0.1/PORT:" without its colon.
        e.servidor = serverPrefix().chopped(1);
        e.passwordSysdba = serverPassword();
    }
    return e;
}

} // namespace

EntornoPrueba::EntornoPrueba(const OpcionesPrueba &opciones)
    : m_opciones(opciones)
{
    static int numero = 0;
    ++numero;
    const QString carpeta = tempPath(
        opciones.carpeta.isEmpty() ? QStringLiteral("entorno%1").arg(numero) : opciones.carpeta);
    m_entorno = microsip::Entorno::crea(carpeta, opcionesEntorno(opciones));
    if (opciones.sembrado) {
        for (const QString &empresa : opciones.empresas) {
            fb::Database db;
            conectaEmpresa(db, empresa);
            microsip::siembra(db, opciones.siembra);
        }
    }
}

QStringList EntornoPrueba::parametros(const QString &usuario, const QString &password) const
{
    return m_entorno.parametros(usuario, password);
}

void EntornoPrueba::conectaSesion(lar::Sesion &s,
                                  const QString &empresa,
                                  const QString &usuario,
                                  const QString &password) const
{
    m_entorno.conecta(s.fbConfig(), m_entorno.rutaConfig(), usuario, password);
    m_entorno.conecta(s.fbDatabase(), m_entorno.rutaEmpresa(empresa), usuario, password);
    m_entorno.conecta(s.fbMetadatos(), m_entorno.rutaMetadatos(), usuario, password);
    s.UsuarioActual = usuario.toUpper();
}

void EntornoPrueba::conectaEmpresa(fb::Database &db,
                                   const QString &empresa,
                                   const QString &usuario,
                                   const QString &password) const
{
    m_entorno.conecta(db, m_entorno.rutaEmpresa(empresa), usuario, password);
}

void EntornoPrueba::conectaConfig(fb::Database &db,
                                  const QString &usuario,
                                  const QString &password) const
{
    m_entorno.conecta(db, m_entorno.rutaConfig(), usuario, password);
}

void EntornoPrueba::conectaMetadatos(fb::Database &db,
                                     const QString &usuario,
                                     const QString &password) const
{
    m_entorno.conecta(db, m_entorno.rutaMetadatos(), usuario, password);
}

void EntornoPrueba::instalaExtension(const QString &empresa) const
{
    fb::Database db;
    conectaEmpresa(db, empresa);
    fb::Transaction tr(&db);
    fb::ScriptRunner runner(db, tr);
    runner.setErrorHandler([](const fb::ScriptStatement &, const fb::Error &) {
        return fb::ScriptRunner::OnError::Skip;
    });
    for (const char *nombre : {"sTablas", "sDatos", "sIndices", "sProcs", "sPermisos"}) {
        QFile f(sourceDir() + QStringLiteral("/src/db/scripts/%1.sql").arg(QLatin1String(nombre)));
        if (!f.open(QIODevice::ReadOnly))
            throw fb::Error(QStringLiteral("No se encontró %1").arg(f.fileName()));
        runner.run(fb::fromWin1252(f.readAll()));
        if (tr.isActive())
            tr.commit();
    }
}

} // namespace lartest
