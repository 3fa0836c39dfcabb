#include "actualizadb.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "fb/script.h"
#include "fb/win1252.h"
#include "toolkit/mensajes.h"

#include <QFile>
#include <QLocale>

// Resource initialisers live outside any namespace.
static void iniciaRecursos()
{
    Q_INIT_RESOURCE(lar_db_scripts);
}

namespace lar {

namespace {

struct Paso
{
    const char16_t *script;
    const char16_t *linea;
};

constexpr Paso kPasos[] = {
    {u"sTablas", u" - Se crearon las tablas"},
    {u"sDatos", u" - Se insertaron los datos"},
    {u"sIndices", u" - Se crearon los índices"},
    {u"sProcs", u" - Se crearon los procedimientos"},
    {u"sPermisos", u" - Se dieron permisos"},
};

QString mensajeDe(const std::exception &e)
{
    if (const auto *fe = dynamic_cast<const fb::Error *>(&e))
        return fe->message();
    return QString::fromLocal8Bit(e.what());
}

} // namespace

ActualizaDB::ActualizaDB(Sesion &s)
    : m_s(s)
    , m_qConfig(&s.fbConfig(), &s.fbConfigTrans())
    , m_qConfig2(&s.fbConfig(), &s.fbConfigTrans())
{
    m_aviso = [](const QString &texto) {
        MensajeSistema(texto, QStringLiteral("Aviso del sistema"), mb::IconWarning);
    };
}

ActualizaDB::~ActualizaDB() = default;

QStringList ActualizaDB::nombresScripts()
{
    QStringList out;
    for (const Paso &p : kPasos)
        out << QString::fromUtf16(p.script);
    return out;
}

QByteArray ActualizaDB::bytesScript(const QString &nombre)
{
    iniciaRecursos();
    QFile f(QStringLiteral(":/db/scripts/") + nombre + QStringLiteral(".sql"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

QString ActualizaDB::textoScript(const QString &nombre)
{
    return fb::fromWin1252(bytesScript(nombre));
}

void ActualizaDB::setScript(const QString &nombre, const QString &texto)
{
    m_reemplazos.insert(nombre, texto);
}

void ActualizaDB::Log(const QString &texto)
{
    if (!m_bitacora)
        return;
    if (texto.isEmpty())
        m_bitacora(QString());
    else
        // The short time of the shop's locale (hours and minutes), not the machine's,
        // whose short form may carry seconds or another language.
        m_bitacora(QLocale(QLocale::Spanish, QLocale::Mexico)
                       .toString(QTime::currentTime(), QLocale::ShortFormat)
                   + QStringLiteral(": ") + texto);
}

bool ActualizaDB::versionAceptada()
{
    if (!ExisteTabla(m_s, QStringLiteral("LAR_REGISTRO")))
        return true;
    QString version;
    try {
        Registro(
            m_s, QString(), QString(), QString(), true, version, QStringLiteral("PuntosLar_DB"));
    } catch (const fb::Error &) {
        // Unreadable counts as older: the upgrade goes on.
    }
    if (version > VersionEsquema()) {
        if (m_aviso)
            m_aviso(QStringLiteral(
                "La base de datos no es compatible, es necesario actualizar el sistema Puntos "
                "Larvenos "));
        return false;
    }
    return true;
}

void ActualizaDB::ejecutaScripts()
{
    Log(QStringLiteral("Inicia"));
    for (const Paso &p : kPasos) {
        const QString nombre = QString::fromUtf16(p.script);
        try {
            fb::TransactionGuard guardia(m_s.fbUpdateTrans());
            fb::ScriptRunner runner(m_s.fbDatabase(), m_s.fbUpdateTrans());
            // What exists already fails here and is passed over without a word;
            // that is what makes a repeated run safe.
            runner.setErrorHandler([](const fb::ScriptStatement &, const fb::Error &) {
                return fb::ScriptRunner::OnError::Skip;
            });
            runner.run(m_reemplazos.contains(nombre) ? m_reemplazos.value(nombre)
                                                     : textoScript(nombre));
            guardia.commit();
        } catch (const std::exception &e) {
            Log(mensajeDe(e)); // the step's work was rolled back by its guard
        }
        Log(QString::fromUtf16(p.linea));
    }
    Log(QString());
    Log(QStringLiteral("* Terminado *"));
}

int ActualizaDB::CreaCarpeta(const QString &nombre, int padre)
{
    auto busca = [&] {
        m_qConfig.setSql(QStringLiteral(
            "SELECT folder_id FROM rb_folder WHERE name = :name and parent_id = :parent_id"));
        m_qConfig.bind(QStringLiteral("name"), nombre);
        m_qConfig.bind(QStringLiteral("parent_id"), padre);
        m_qConfig.open();
        const QVariant id = m_qConfig.eof() ? QVariant() : m_qConfig.field(0).toVariant();
        m_qConfig.close();
        return id;
    };
    QVariant id = busca();
    if (id.isNull()) {
        m_qConfig2.setSql(
            QStringLiteral("INSERT INTO rb_folder (name, parent_id) VALUES (:name, :parent_id)"));
        m_qConfig2.bind(QStringLiteral("name"), nombre);
        m_qConfig2.bind(QStringLiteral("parent_id"), padre);
        m_qConfig2.execute();
        id = busca();
    }
    return id.toInt();
}

void ActualizaDB::CreaCarpetas()
{
    try {
        fb::TransactionGuard guardia(m_s.fbConfigTrans());
        int id = CreaCarpeta(QStringLiteral("LarvenosPV"), 0);
        id = CreaCarpeta(QStringLiteral("Traspasos"), id);
        CreaCarpeta(QStringLiteral("Formas"), id);
        id = CreaCarpeta(QStringLiteral("LarvenosPV"), 0);
        id = CreaCarpeta(QStringLiteral("Puntos"), id);
        CreaCarpeta(QStringLiteral("Formas"), id);
        guardia.commit();
    } catch (const std::exception &e) {
        Log(QStringLiteral("Error al crear las carpetas para los reportes:"));
        Log(mensajeDe(e));
    }
}

void ActualizaDB::ejecuta()
{
    ejecutaScripts();
    CreaCarpetas();
    // Written even when statements or steps failed: the log is the only report.
    QString version = VersionEsquema();
    Registro(m_s, QString(), QString(), QString(), false, version, QStringLiteral("PuntosLar_DB"));
}

bool ActualizaDB::Actualiza()
{
    if (!versionAceptada())
        return false;
    ejecuta();
    return true;
}

bool ActualizaBaseDatos(Sesion &s, const ActualizaDB::Bitacora &bitacora)
{
    ActualizaDB a(s);
    a.setBitacora(bitacora);
    if (bitacora)
        a.setAviso([&a](const QString &texto) { a.Log(texto); });
    else
        a.setAviso({});
    return a.Actualiza();
}

bool ActualizaEmpresa(const QString &empresa,
                      const QString &config,
                      const QStringList &parametros,
                      const ActualizaDB::Bitacora &bitacora)
{
    Sesion s;
    s.fbDatabase().setParams(parametros);
    s.fbDatabase().setDatabaseName(empresa);
    s.fbDatabase().connect();
    if (!config.isEmpty()) {
        s.fbConfig().setParams(parametros);
        s.fbConfig().setDatabaseName(config);
        s.fbConfig().connect();
    }
    const bool hecho = ActualizaBaseDatos(s, bitacora);
    s.UpdateCommit();
    s.desconecta();
    return hecho;
}

} // namespace lar
