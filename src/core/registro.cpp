#include "registro.h"

#include "sesion.h"
#include "toolkit/memtable.h"

#include <QDir>

namespace lar {

namespace {

const QString kAviso = QStringLiteral("Aviso del sistema");

// Names as the object tests compare them: no blanks or line breaks, upper case.
QString normaliza(const QString &nombre)
{
    QString out;
    out.reserve(nombre.size());
    for (QChar c : nombre) {
        if (c != u' ' && c != u'\r' && c != u'\n')
            out += c;
    }
    return out.toUpper();
}

int cuenta(fb::Query &q)
{
    q.open();
    const int n = q.eof() ? 0 : q.field(0).toInt();
    q.close();
    return n;
}

// Step 1 and 5 of a node: the id and value of (nombre, padre), 0 when absent.
int buscaNodo(fb::Query &q, const QString &nombre, int padre, QString *valor)
{
    q.setSql(QStringLiteral(
        "SELECT registro_id,valor FROM lar_registro WHERE nombre = :nombre and padre_id = :padre"));
    q.bind(QStringLiteral("nombre"), nombre);
    q.bind(QStringLiteral("padre"), padre);
    q.open();
    int id = 0;
    if (!q.eof()) {
        id = q.field(0).toInt();
        if (valor)
            *valor = q.field(1).toString();
    }
    q.close();
    return id;
}

} // namespace

int RegistroNodo(Sesion &s, const QString &nombre, QChar tipo, QString &valor, bool leer, int padre)
{
    // Each node on the tree's own short transaction, committed here.
    fb::TransactionGuard guardia(s.fbRegTrans());
    fb::Query &qReg = s.qReg();
    QString leido;
    int id = buscaNodo(qReg, nombre, padre, &leido);
    if (leer && id > 0) {
        if (tipo == u'V')
            valor = leido;
        guardia.commit();
        return id;
    }

    // A write, or a read that found nothing: the row takes the value as it stands,
    // folders included, and its type is overwritten.
    fb::Query &qRegUpd = s.qRegUpd();
    qRegUpd.setSql(QStringLiteral("UPDATE lar_registro SET tipo = :tipo, valor = :valor WHERE "
                                  "nombre = :nombre and padre_id = :padre_id"));
    qRegUpd.bind(QStringLiteral("tipo"), QString(tipo));
    qRegUpd.bind(QStringLiteral("valor"), valor);
    qRegUpd.bind(QStringLiteral("nombre"), nombre);
    qRegUpd.bind(QStringLiteral("padre_id"), padre);
    if (qRegUpd.execute() == 0) {
        qRegUpd.setSql(QStringLiteral("INSERT INTO lar_registro (nombre, tipo, padre_id, valor) "
                                      "VALUES (:nombre, :tipo, :padre_id, :valor)"));
        qRegUpd.bind(QStringLiteral("nombre"), nombre);
        qRegUpd.bind(QStringLiteral("tipo"), QString(tipo));
        qRegUpd.bind(QStringLiteral("padre_id"), padre);
        qRegUpd.bind(QStringLiteral("valor"), tipo == u'V' ? QVariant(valor) : QVariant());
        qRegUpd.execute();
    }
    id = buscaNodo(qReg, nombre, padre, nullptr);
    guardia.commit();
    return id;
}

int RegistroCarpeta(Sesion &s,
                    const QString &carpeta2,
                    const QString &raiz,
                    QString &valor,
                    bool leer,
                    const QString &carpeta3)
{
    const QString clave = raiz + u'*' + carpeta2 + u'*' + carpeta3;
    const auto it = s.RegistroCache.constFind(clave);
    if (it != s.RegistroCache.constEnd())
        return it.value();

    int id = 0;
    for (const QString &carpeta : {raiz, carpeta2, carpeta3}) {
        if (carpeta.isEmpty())
            continue;
        id = RegistroNodo(s, carpeta, u'F', valor, leer, id);
        if (leer && id == 0)
            break;
    }
    if (id > 0)
        s.RegistroCache.insert(clave, id);
    return id;
}

int Registro(Sesion &s,
             const QString &carpeta3,
             const QString &raiz,
             const QString &carpeta2,
             bool leer,
             QString &valor,
             const QString &nombre)
{
    if (leer)
        valor = QStringLiteral(""); // a missing key is stored as '', not NULL
    const int carpeta = RegistroCarpeta(s, carpeta2, raiz, valor, leer, carpeta3);
    return RegistroNodo(s, nombre, u'V', valor, leer, carpeta);
}

QString LeeRegistro(Sesion &s, const QString &nombre)
{
    QString valor;
    Registro(
        s, QString(), QStringLiteral("PuntosLar"), QStringLiteral("Puntos"), true, valor, nombre);
    return valor;
}

void GuardaRegistro(Sesion &s, const QString &nombre, const QString &valor)
{
    QString v = valor;
    Registro(s, QString(), QStringLiteral("PuntosLar"), QStringLiteral("Puntos"), false, v, nombre);
}

bool ExisteTabla(Sesion &s, const QString &nombre)
{
    const QString n = normaliza(nombre);
    if (s.ObjetosCache.contains(n))
        return true;
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral("select count(*) from rdb$relations where rdb$relation_name=:n"));
    q.bind(QStringLiteral("n"), n);
    const bool existe = cuenta(q) >= 1;
    if (existe)
        s.ObjetosCache.insert(n);
    return existe;
}

bool ExisteCampo(Sesion &s, const QString &tabla, const QString &campo)
{
    const QString clave = tabla + u'.' + campo;
    if (s.ObjetosCache.contains(clave))
        return true;
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral("select count(*) from rdb$relation_fields where rdb$relation_name = "
                            ":t and rdb$field_name=:f"));
    q.bind(QStringLiteral("t"), tabla);
    q.bind(QStringLiteral("f"), campo);
    const bool existe = cuenta(q) >= 1;
    if (existe)
        s.ObjetosCache.insert(clave);
    return existe;
}

bool ExisteProcedimiento(Sesion &s, const QString &nombre)
{
    const QString n = normaliza(nombre);
    const auto it = s.ProcCache.constFind(n);
    if (it != s.ProcCache.constEnd())
        return it.value();
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral("select count(*) from rdb$procedures where rdb$procedure_name = :s"));
    q.bind(QStringLiteral("s"), n);
    const bool existe = cuenta(q) >= 1;
    s.ProcCache.insert(n, existe);
    return existe;
}

bool VersionMicrosipOk(Sesion &s)
{
    fb::Query &q = s.QueryM();
    q.setSql(QStringLiteral(
        "SELECT substring(max(v.version_sis) from 1 for 3), max(v.version_sis) version FROM "
        "versiones_sis v JOIN sistemas s on s.sistema_id = v.sistema_id WHERE s.nombre = "
        "'Microsip - Administración'"));
    q.open();
    QString menor, v;
    if (!q.eof()) {
        menor = q.field(0).toTrimmed();
        v = q.field(1).toTrimmed();
    }
    q.close();
    // No version at all reads as 0: there is no lower limit.
    const bool ok = menor.toInt() <= 722;
    if (v.isEmpty())
        s.VersionMicrosip.clear();
    else
        s.VersionMicrosip
            = v.left(1) + u'.' + v.mid(1, 2) + u'.' + QString::number(v.mid(3, 2).toInt());
    return ok;
}

VerificacionDB VerificaDB(Sesion &s, bool silencioso)
{
    VerificacionDB r;
    if (!VersionMicrosipOk(s)) {
        r.aviso = QStringLiteral("Puntos Larvenos 2026 no es compatible con la versión de "
                                 "Microsip ")
                  + s.VersionMicrosip;
        r.terminar = true;
        return r;
    }
    const QString actualizar
        = QStringLiteral("Es necesario actualizar la base de datos para continuar");
    if (!ExisteTabla(s, QStringLiteral("LAR_REGISTRO"))) {
        if (!silencioso)
            r.aviso = actualizar;
        return r;
    }
    QString version;
    try {
        Registro(s, QString(), QString(), QString(), true, version, QStringLiteral("PuntosLar_DB"));
    } catch (const fb::Error &) {
        version = QStringLiteral("0");
    }
    if (version == VersionEsquema()) {
        r.ok = true;
        return r;
    }
    if (!silencioso) {
        if (version > VersionEsquema())
            r.aviso = QStringLiteral("La base de datos no es compatible, debe actualizar el "
                                     "sistema Larvenos");
        else
            r.aviso = actualizar;
    }
    return r;
}

QString CarpetaDatos()
{
    QString dir = qEnvironmentVariable("LARVENOS_DATOS");
    if (dir.isEmpty())
        dir = QStringLiteral("/var/lib/LarvenosPV");
    if (!dir.endsWith(u'/'))
        dir += u'/';
    return dir;
}

QString RutaIni(Sesion &s)
{
    const QString dir = CarpetaDatos();
    QDir().mkpath(dir);
    s.IniPuntos = dir + QStringLiteral("Puntos.ini");
    return s.IniPuntos;
}

int RegistroMicrosip(Sesion &s,
                     const QString &nombre,
                     int padreId,
                     const QString &tipo,
                     bool forzar,
                     const QString &valor)
{
    fb::Query q(&s.fbConfig(), &s.fbConfigTrans());
    q.setSql(QStringLiteral(
        "SELECT elemento_id FROM registry WHERE nombre = :nombre and padre_id = :padre_id"));
    q.bind(QStringLiteral("nombre"), nombre);
    q.bind(QStringLiteral("padre_id"), padreId);
    q.open();
    int id = q.eof() ? 0 : q.field(0).toInt();
    q.close();
    if (id > 0 && !forzar)
        return id;
    if (id < 1) {
        q.setSql(QStringLiteral("select GEN_ID(ID_CATALOGOS,1) from rdb$database"));
        q.open();
        id = q.field(0).toInt();
        q.close();
    }
    q.setSql(QStringLiteral("UPDATE or INSERT INTO registry (elemento_id, nombre, tipo, padre_id, "
                            "valor) VALUES (:elemento_id, :nombre, :tipo, :padre_id, :valor)"));
    q.bind(QStringLiteral("elemento_id"), id);
    q.bind(QStringLiteral("nombre"), nombre);
    q.bind(QStringLiteral("tipo"), tipo);
    q.bind(QStringLiteral("padre_id"), padreId);
    q.bind(QStringLiteral("valor"), valor);
    q.execute();
    return id;
}

std::unique_ptr<MemTable>
CargaCatalogo(Sesion &s, const QString &tabla, const QString &clave, const QString &nombre)
{
    auto mem = std::make_unique<MemTable>();
    mem->setObjectName(QStringLiteral("mCatalogo"));
    mem->addField(QStringLiteral("Clave"), FieldType::Integer);
    mem->addField(QStringLiteral("Nombre"), FieldType::String, 30);
    mem->open();
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral("SELECT ") + clave + u',' + nombre + QStringLiteral("\nFROM ") + tabla
             + QStringLiteral("\nORDER BY 2"));
    q.open();
    mem->loadFromQuery(q);
    q.close();
    mem->first();
    return mem;
}

} // namespace lar
