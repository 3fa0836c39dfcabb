#include "entorno.h"

#include "sql_p.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/sqltext.h"
#include "fb/transaction.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace microsip {

namespace {

const QString kRol = QStringLiteral("USUARIO_MICROSIP");

[[noreturn]] void falla(const QString &mensaje)
{
    throw fb::Error(mensaje);
}

bool nombreValido(const QString &nombre, const QRegularExpression &patron)
{
    return patron.match(nombre).hasMatch();
}

void validaOpciones(const OpcionesEntorno &op)
{
    static const QRegularExpression reEmpresa(QStringLiteral("^[A-Za-z0-9_][A-Za-z0-9_-]{0,29}$"));
    static const QRegularExpression reUsuario(QStringLiteral("^[A-Za-z][A-Za-z0-9_$]{0,30}$"));
    static const QRegularExpression reXml(QStringLiteral("^[A-Za-z_][A-Za-z0-9_.-]*$"));
    static const QRegularExpression reServidor(QStringLiteral("^[A-Za-z0-9_.-]+(/[0-9]{1,5})?$"));
    static const QRegularExpression reVersion(QStringLiteral("^[0-9]{1,10}$"));

    if (op.empresas.isEmpty())
        falla(QStringLiteral("Indique al menos una empresa."));
    QStringList vistas;
    for (const QString &e : op.empresas) {
        if (!nombreValido(e, reEmpresa) || e.compare(u"System", Qt::CaseInsensitive) == 0)
            falla(QStringLiteral("El nombre corto de empresa '%1' no es válido: use letras, "
                                 "números, '_' o '-', hasta 30 caracteres.")
                      .arg(e));
        if (vistas.contains(e, Qt::CaseInsensitive))
            falla(QStringLiteral("La empresa '%1' está repetida.").arg(e));
        vistas << e;
    }
    if (!op.servidor.isEmpty() && !nombreValido(op.servidor, reServidor))
        falla(QStringLiteral("El servidor '%1' no es válido: use anfitrión o anfitrión/puerto.")
                  .arg(op.servidor));
    if (!nombreValido(op.versionSis, reVersion))
        falla(QStringLiteral("La versión de Microsip '%1' no es válida: deben ser dígitos.")
                  .arg(op.versionSis));
    if (!nombreValido(op.nombreConexion, reXml))
        falla(QStringLiteral("El nombre de conexión '%1' no es válido.").arg(op.nombreConexion));
    QStringList usuarios;
    for (const Usuario &u : op.usuarios) {
        if (!nombreValido(u.nombre, reUsuario))
            falla(QStringLiteral("El nombre de usuario '%1' no es válido.").arg(u.nombre));
        if (u.nombre.compare(u"SYSDBA", Qt::CaseInsensitive) == 0)
            falla(QStringLiteral("El usuario SYSDBA ya existe en todo entorno."));
        if (usuarios.contains(u.nombre, Qt::CaseInsensitive))
            falla(QStringLiteral("El usuario '%1' está repetido.").arg(u.nombre));
        usuarios << u.nombre;
        if (!op.servidor.isEmpty() && u.password.isEmpty())
            falla(QStringLiteral("El usuario '%1' necesita una contraseña en un servidor.")
                      .arg(u.nombre));
        for (const QString &e : u.empresas) {
            if (!op.empresas.contains(e, Qt::CaseInsensitive))
                falla(QStringLiteral("El usuario '%1' tiene acceso a la empresa '%2', que no se "
                                     "crea en este entorno.")
                          .arg(u.nombre, e));
        }
    }
}

QString sinBarraFinal(QString ruta)
{
    while (ruta.size() > 1 && ruta.endsWith(u'/'))
        ruta.chop(1);
    return ruta;
}

void escribeXml(const QString &archivo, const std::function<void(QXmlStreamWriter &)> &cuerpo)
{
    QDir().mkpath(QFileInfo(archivo).absolutePath());
    QSaveFile f(archivo);
    if (!f.open(QIODevice::WriteOnly))
        falla(QStringLiteral("No fue posible escribir %1: %2").arg(archivo, f.errorString()));
    QXmlStreamWriter w(&f);
    w.setAutoFormatting(true);
    w.setAutoFormattingIndent(2);
    w.writeStartDocument();
    cuerpo(w);
    w.writeEndDocument();
    if (!f.commit())
        falla(QStringLiteral("No fue posible escribir %1: %2").arg(archivo, f.errorString()));
}

// Builds every database and file of the environment under e.carpeta(); the XML
// points at `destino`, where the folder will end up.
class Constructor
{
public:
    Constructor(const Entorno &e, const OpcionesEntorno &op, const QString &destino)
        : m_e(e)
        , m_op(op)
        , m_destino(destino)
    {}

    void construye()
    {
        if (!QDir().mkpath(m_e.carpeta() + QStringLiteral("/System")))
            falla(QStringLiteral("No fue posible crear la carpeta %1/System").arg(m_e.carpeta()));
        creaConfig();
        creaMetadatos();
        for (const QString &empresa : m_op.empresas)
            creaEmpresa(empresa);
        escribeXmlComun();
        escribeXmlUsuario();
    }

    // Accounts added to the server's security database by this run, to drop them
    // again if the run fails.
    QStringList usuariosCreados;

    void deshaceUsuarios() noexcept
    {
        if (usuariosCreados.isEmpty())
            return;
        try {
            fb::Database db;
            // Any attachment to the server manages its users.
            db.setDatabaseName(m_e.rutaConfig());
            db.setParams(m_e.parametros());
            db.connect();
            for (const QString &u : std::as_const(usuariosCreados))
                detail::ejecuta(db, QStringLiteral("DROP USER %1").arg(u));
        } catch (...) {
        }
    }

private:
    void creaBase(fb::Database &db, const QString &ruta)
    {
        db.setDatabaseName(ruta);
        // Without synchronous writes: a stand-in is built for tests and demos, where
        // the flushes of every DDL commit would cost seconds per environment.
        QStringList params{QStringLiteral("lc_ctype=None"),
                           QStringLiteral("user_name=SYSDBA"),
                           QStringLiteral("force_write=0")};
        if (!m_e.passwordSysdba().isEmpty())
            params << QStringLiteral("password=") + m_e.passwordSysdba();
        db.setParams(params);
        try {
            db.createDatabase();
        } catch (const fb::Error &e) {
            throw fb::Error(QStringLiteral("No fue posible crear la base de datos %1: %2")
                                .arg(ruta, e.message()),
                            e.iscCode(),
                            e.sqlCode());
        }
    }

    void concedeRol(fb::Database &db)
    {
        for (const Usuario &u : m_op.usuarios)
            detail::ejecuta(db, QStringLiteral("GRANT %1 TO %2").arg(kRol, u.nombre.toUpper()));
    }

    void creaConfig()
    {
        fb::Database db;
        creaBase(db, m_e.rutaConfig());
        detail::ejecutaScript(db, QStringLiteral("config"));
        if (!m_e.servidor().isEmpty())
            creaCuentas(db);

        fb::Transaction tr(&db);
        fb::Query q(&db, &tr);
        QHash<QString, int> ids;
        q.setSql(QStringLiteral("INSERT INTO EMPRESAS (EMPRESA_ID, NOMBRE_CORTO) VALUES (-1, :n)"
                                " RETURNING EMPRESA_ID"));
        for (const QString &e : m_op.empresas) {
            q.bind(QStringLiteral("n"), e);
            q.execute();
            ids.insert(e.toUpper(), q.field(0).toInt());
        }
        fb::Query qu(&db, &tr);
        qu.setSql(QStringLiteral("INSERT INTO USUARIOS (USUARIO_ID, NOMBRE, TIPO, ACCESO_EMPRESAS)"
                                 " VALUES (-1, :n, 'U', :a) RETURNING USUARIO_ID"));
        fb::Query qe(&db, &tr);
        qe.setSql(QStringLiteral(
            "INSERT INTO EMPRESAS_USUARIOS (USUARIO_ID, EMPRESA_ID) VALUES (:u, :e)"));
        for (const Usuario &u : m_op.usuarios) {
            qu.bind(QStringLiteral("n"), u.nombre.toUpper());
            qu.bind(QStringLiteral("a"), QString(u.accesoEmpresas));
            qu.execute();
            const int id = qu.field(0).toInt();
            for (const QString &e : u.empresas) {
                qe.bind(QStringLiteral("u"), id);
                qe.bind(QStringLiteral("e"), ids.value(e.toUpper()));
                qe.execute();
            }
        }
        tr.commit();
        concedeRol(db);
    }

    void creaCuentas(fb::Database &db)
    {
        for (const Usuario &u : m_op.usuarios) {
            const QString nombre = u.nombre.toUpper();
            fb::Transaction tr(&db);
            fb::Query q(&db, &tr);
            q.setSql(QStringLiteral("SELECT COUNT(*) FROM SEC$USERS WHERE SEC$USER_NAME = :n"));
            q.bind(QStringLiteral("n"), nombre);
            q.open();
            const bool existe = q.field(0).toInt() > 0;
            q.close();
            tr.commit();
            detail::ejecuta(db,
                            QStringLiteral("%1 USER %2 PASSWORD %3")
                                .arg(existe ? QStringLiteral("ALTER") : QStringLiteral("CREATE"),
                                     nombre,
                                     fb::literal(u.password)));
            if (!existe)
                usuariosCreados << nombre;
        }
    }

    void creaMetadatos()
    {
        fb::Database db;
        creaBase(db, m_e.rutaMetadatos());
        detail::ejecutaScript(db, QStringLiteral("metadatos"));
        if (m_op.versionSis != u"72201")
            detail::ejecuta(db,
                            QStringLiteral("UPDATE VERSIONES_SIS SET VERSION_SIS = %1")
                                .arg(fb::literal(m_op.versionSis)));
        concedeRol(db);
    }

    void creaEmpresa(const QString &nombre)
    {
        fb::Database db;
        creaBase(db, m_e.rutaEmpresa(nombre));
        detail::ejecutaScript(db, QStringLiteral("empresa"));
        detail::ejecutaScript(db, QStringLiteral("sim_folios"));
        if (m_op.foliosConceptos)
            detail::ejecutaScript(db, QStringLiteral("empresa_folios"));
        if (m_op.larSync)
            detail::ejecutaScript(db, QStringLiteral("lar_sync"));
        concedeRol(db);
    }

    void escribeXmlComun()
    {
        escribeXml(m_e.xmlComun(), [this](QXmlStreamWriter &w) {
            w.writeStartElement(QStringLiteral("ProgramData"));
            w.writeStartElement(QStringLiteral("LocalMachine"));
            w.writeStartElement(QStringLiteral("Software"));
            w.writeStartElement(QStringLiteral("Microsip"));
            w.writeStartElement(QStringLiteral("Conexiones"));
            w.writeStartElement(m_op.nombreConexion);
            w.writeTextElement(QStringLiteral("Nombre_del_servidor"), m_op.servidor);
            w.writeTextElement(QStringLiteral("Directorio_de_datos"), m_destino + u'/');
            // 0 is TCP/IP; 1 would make the program build a named-pipe path.
            w.writeTextElement(QStringLiteral("Protocolo"), QStringLiteral("0"));
            w.writeEndElement();
            w.writeEndElement();
            w.writeEndElement();
            w.writeEndElement();
            w.writeEndElement();
            w.writeEndElement();
        });
    }

    void escribeXmlUsuario()
    {
        escribeXml(m_e.xmlUsuario(), [this](QXmlStreamWriter &w) {
            w.writeStartElement(QStringLiteral("ProgramData"));
            w.writeStartElement(QStringLiteral("CurrentUser"));
            w.writeStartElement(Entorno::usuarioSistema());
            w.writeStartElement(QStringLiteral("Software"));
            w.writeStartElement(QStringLiteral("Microsip"));
            w.writeStartElement(QStringLiteral("Barra_Microsip"));
            w.writeTextElement(QStringLiteral("Usuario"), QStringLiteral("SYSDBA"));
            w.writeTextElement(QStringLiteral("Conexi_n"), m_op.nombreConexion);
            for (int i = 0; i < 6; ++i)
                w.writeEndElement();
        });
    }

    const Entorno &m_e;
    const OpcionesEntorno &m_op;
    QString m_destino;
};

} // namespace

Entorno Entorno::crea(const QString &carpeta, const OpcionesEntorno &opciones)
{
    validaOpciones(opciones);
    if (carpeta.trimmed().isEmpty())
        falla(QStringLiteral("Indique la carpeta del entorno."));
    const QString destino = sinBarraFinal(QDir::cleanPath(QFileInfo(carpeta).absoluteFilePath()));
    const QFileInfo info(destino);
    if (info.exists()) {
        if (!info.isDir())
            falla(QStringLiteral("%1 existe y no es una carpeta.").arg(destino));
        if (!QDir(destino).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden))
            falla(QStringLiteral("La carpeta %1 ya existe y no está vacía.").arg(destino));
    }
    const QString padre = info.absolutePath();
    if (!QDir().mkpath(padre))
        falla(QStringLiteral("No fue posible crear la carpeta %1.").arg(padre));

    // Everything is built in a hidden sibling and renamed at the end, so a
    // failure never leaves a half-made environment under the given name.
    QTemporaryDir tmp(padre + QStringLiteral("/.") + info.fileName() + QStringLiteral("-XXXXXX"));
    if (!tmp.isValid())
        falla(QStringLiteral("No fue posible crear una carpeta temporal en %1: %2")
                  .arg(padre, tmp.errorString()));

    Entorno e;
    e.m_carpeta = tmp.path();
    e.m_servidor = opciones.servidor;
    e.m_passwordSysdba = opciones.passwordSysdba;
    e.m_nombreConexion = opciones.nombreConexion;

    Constructor c(e, opciones, destino);
    try {
        c.construye();
    } catch (...) {
        c.deshaceUsuarios();
        throw;
    }
    if (info.exists())
        QDir().rmdir(destino);
    if (!QDir().rename(tmp.path(), destino)) {
        c.deshaceUsuarios();
        falla(QStringLiteral("No fue posible mover el entorno a %1.").arg(destino));
    }
    tmp.setAutoRemove(false);
    // The temporary folder was private; a server running under another account
    // must reach the files.
    QFile::setPermissions(destino,
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
                              | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);
    e.m_carpeta = destino;
    return e;
}

Entorno Entorno::abre(const QString &carpeta, const QString &passwordSysdba)
{
    if (carpeta.trimmed().isEmpty())
        falla(QStringLiteral("Indique la carpeta del entorno."));
    const QString ruta = sinBarraFinal(QDir::cleanPath(QFileInfo(carpeta).absoluteFilePath()));
    if (!QFileInfo(ruta).isDir())
        falla(QStringLiteral("No existe la carpeta %1.").arg(ruta));

    Entorno e;
    e.m_carpeta = ruta;
    e.m_passwordSysdba = passwordSysdba;
    QFile f(e.xmlComun());
    if (!f.open(QIODevice::ReadOnly))
        falla(QStringLiteral("La carpeta %1 no contiene un entorno de Microsip: falta %2.")
                  .arg(ruta, e.xmlComun()));

    // ProgramData/LocalMachine/Software/Microsip/Conexiones/<name>/<fields>
    static const QStringList camino{QStringLiteral("ProgramData"),
                                    QStringLiteral("LocalMachine"),
                                    QStringLiteral("Software"),
                                    QStringLiteral("Microsip"),
                                    QStringLiteral("Conexiones")};
    struct Conexion
    {
        QString nombre, servidor, directorio;
    };
    QList<Conexion> conexiones;
    QXmlStreamReader r(&f);
    QStringList pila;
    Conexion actual;
    QString campo;
    while (!r.atEnd()) {
        r.readNext();
        if (r.isStartElement()) {
            pila << r.name().toString();
            if (pila.size() == camino.size() + 1 && pila.mid(0, camino.size()) == camino)
                actual = Conexion{pila.last(), {}, {}};
            campo = pila.size() == camino.size() + 2 ? pila.last() : QString();
        } else if (r.isCharacters() && !campo.isEmpty()) {
            if (campo == u"Nombre_del_servidor")
                actual.servidor += r.text();
            else if (campo == u"Directorio_de_datos")
                actual.directorio += r.text();
        } else if (r.isEndElement()) {
            if (pila.size() == camino.size() + 1 && pila.mid(0, camino.size()) == camino)
                conexiones << actual;
            if (!pila.isEmpty())
                pila.removeLast();
            campo.clear();
        }
    }
    if (r.hasError())
        falla(QStringLiteral("No fue posible leer %1: %2").arg(e.xmlComun(), r.errorString()));
    if (conexiones.isEmpty())
        falla(QStringLiteral("%1 no tiene conexiones.").arg(e.xmlComun()));
    Conexion elegida = conexiones.first();
    for (const Conexion &c : std::as_const(conexiones)) {
        if (sinBarraFinal(QDir::cleanPath(c.directorio.trimmed())) == ruta) {
            elegida = c;
            break;
        }
    }
    e.m_servidor = elegida.servidor.trimmed();
    e.m_nombreConexion = elegida.nombre;
    return e;
}

QString Entorno::prefijo() const
{
    return m_servidor.isEmpty() ? QString() : m_servidor + u':';
}

QString Entorno::path() const
{
    return prefijo() + m_carpeta + u'/';
}

QString Entorno::rutaEmpresa(const QString &nombreCorto) const
{
    return path() + nombreCorto + QStringLiteral(".fdb");
}

QString Entorno::rutaConfig() const
{
    return path() + QStringLiteral("System/Config.fdb");
}

QString Entorno::rutaMetadatos() const
{
    return path() + QStringLiteral("System/Metadatos.fdb");
}

QString Entorno::carpetaComun() const
{
    return m_carpeta + QStringLiteral("/ProgramData");
}

QString Entorno::carpetaLocal() const
{
    return m_carpeta + QStringLiteral("/AppData/Local");
}

QString Entorno::xmlComun() const
{
    return carpetaComun() + QStringLiteral("/Microsip/ProgramData.xml");
}

QString Entorno::xmlUsuario() const
{
    return carpetaLocal() + QStringLiteral("/Microsip/ProgramData.xml");
}

QStringList Entorno::parametros(const QString &usuario, const QString &password) const
{
    QString pw = password;
    if (pw.isEmpty() && usuario.compare(u"SYSDBA", Qt::CaseInsensitive) == 0)
        pw = m_passwordSysdba;
    return {QStringLiteral("lc_ctype=None"),
            QStringLiteral("user_name=") + usuario,
            QStringLiteral("password=") + pw,
            QStringLiteral("sql_role_name=") + kRol};
}

void Entorno::conecta(fb::Database &db,
                      const QString &ruta,
                      const QString &usuario,
                      const QString &password) const
{
    db.disconnect();
    db.setDatabaseName(ruta);
    db.setParams(parametros(usuario, password));
    db.connect();
}

QStringList Entorno::empresas() const
{
    fb::Database db;
    conecta(db, rutaConfig());
    fb::Transaction tr(&db);
    fb::Query q(&db, &tr);
    q.setTrimChars(true);
    q.setSql(QStringLiteral("SELECT NOMBRE_CORTO FROM EMPRESAS ORDER BY EMPRESA_ID"));
    QStringList lista;
    for (q.open(); !q.eof(); q.next())
        lista << q.field(0).toString();
    q.close();
    tr.commit();
    return lista;
}

void Entorno::verificaEmpresa(const QString &nombreCorto) const
{
    if (nombreCorto.trimmed().isEmpty())
        falla(QStringLiteral("Indique la empresa."));
    if (!empresas().contains(nombreCorto))
        falla(QStringLiteral("La empresa '%1' no existe en el entorno %2.")
                  .arg(nombreCorto, m_carpeta));
    const QString archivo = m_carpeta + u'/' + nombreCorto + QStringLiteral(".fdb");
    if (!QFileInfo::exists(archivo))
        falla(QStringLiteral("Falta el archivo de la empresa '%1': %2.").arg(nombreCorto, archivo));
}

QString Entorno::usuarioSistema()
{
    QString nombre = qEnvironmentVariable("USERNAME");
    if (nombre.isEmpty())
        nombre = qEnvironmentVariable("USER", QStringLiteral("usuario"));
    for (const QChar c : {u'á', u'é', u'í', u'ó', u'ú'})
        nombre.replace(c, u'_');
    return nombre;
}

} // namespace microsip
