#include "empresapuntos.h"
#include "libro.h"

#include "db/actualizadb.h"
#include "fb/error.h"
#include "microsip/sim/puntos.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>

namespace lartest {

namespace {

const QHash<QString, QString> Claves{
    {QStringLiteral("gen"), QStringLiteral("Puntos General Activo")},
    {QStringLiteral("ven"), QStringLiteral("Puntos Ventas")},
    {QStringLiteral("art"), QStringLiteral("Puntos Extra Articulos Activo")},
    {QStringLiteral("imp"), QStringLiteral("Puntos Importe Activo")},
    {QStringLiteral("lin"), QStringLiteral("Puntos Importe Linea")},
    {QStringLiteral("tar"), QStringLiteral("Tarjeta de puntos")},
    {QStringLiteral("cap"), QStringLiteral("No. de vtas")},
    {QStringLiteral("fac"), QStringLiteral("Factor Total Importe Puntos")},
    {QStringLiteral("pes"), QStringLiteral("Factor Cantidad Pesos")},
};

// The catalogue of the header, one statement a line; S holds the numbers 0 to 30.
const char *const Catalogo = R"(
INSERT INTO LINEAS_ARTICULOS (LINEA_ARTICULO_ID, NOMBRE)
  SELECT N, 'L' || N FROM S WHERE N IN (10, 20, 30)
INSERT INTO LAR_PUNTOSLINEAS (LINEA_ID, PUNTOS, IMPORTE)
  SELECT N, DECODE(N, 10, 2, 1), DECODE(N, 10, 100, 50) FROM S WHERE N IN (10, 20)
INSERT INTO ARTICULOS (ARTICULO_ID, NOMBRE, LINEA_ARTICULO_ID, ES_ALMACENABLE)
  SELECT 100 + N, 'A' || N, 10 + 10 * (N / 2), 'N' FROM S WHERE N < 6
INSERT INTO LIBRES_ARTICULOS (ARTICULO_ID, PUNTOS)
  SELECT 100 + N, DECODE(N, 0, 3, 3, 5, 4, 0, 5, 1) FROM S WHERE N IN (0, 2, 3, 4, 5)
INSERT INTO ROLES_CLAVES_ARTICULOS (ROL_CLAVE_ART_ID, NOMBRE) SELECT -1, 'Clave' FROM S WHERE N = 0
INSERT INTO CLAVES_ARTICULOS (CLAVE_ARTICULO_ID, CLAVE_ARTICULO, ARTICULO_ID, ROL_CLAVE_ART_ID)
  SELECT -1, 'A' || ARTICULO_ID, ARTICULO_ID, ROL_CLAVE_ART_ID
  FROM ARTICULOS, ROLES_CLAVES_ARTICULOS, S WHERE N = 0
INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE)
  SELECT N, 'C' || N FROM S WHERE N BETWEEN 1 AND 5 OR N BETWEEN 11 AND 19
INSERT INTO LIBRES_CLIENTES (CLIENTE_ID, ACTIVO_PUNTOS)
  SELECT N, DECODE(N, 1, 'S', 3, 'N', 5, 'S') FROM S WHERE N IN (1, 3, 4, 5)
INSERT INTO CLAVES_CLIENTES (CLAVE_CLIENTE_ID, CLIENTE_ID, CLAVE_CLIENTE, ROL_CLAVE_CLI_ID)
  SELECT -1, MOD(N, 10), 'T' || N, R.ROL_CLAVE_CLI_ID FROM S, ROLES_CLAVES_CLIENTES R
  WHERE N IN (1, 3, 4, 5, 15) AND R.NOMBRE = 'Clave Puntos'
INSERT INTO CAJEROS (CAJERO_ID, NOMBRE) SELECT N, 'C' || N FROM S WHERE N IN (7, 8)
INSERT INTO VENDEDORES (VENDEDOR_ID, NOMBRE) SELECT N, 'V' || N FROM S WHERE N IN (1, 2))";

} // namespace

EmpresaPuntos::EmpresaPuntos(bool larSync, bool lineaDeOrdenes)
    : m_entorno([larSync] {
        OpcionesPrueba o;
        o.larSync = larSync;
        return o;
    }())
    , m_lineaDeOrdenes(lineaDeOrdenes)
{
    if (!lar::ActualizaEmpresa(
            m_entorno.rutaEmpresa(), m_entorno.entorno().rutaConfig(), m_entorno.parametros()))
        throw fb::Error(QStringLiteral("the upgrade refused the company"));
    m_entorno.conectaEmpresa(m_db);
    // The numbers go before each statement's SELECT.
    static const QRegularExpression select(QStringLiteral("\\s+SELECT "));
    const QString numeros = QStringLiteral(" WITH RECURSIVE S (N) AS (SELECT 0 FROM RDB$DATABASE"
                                           " UNION ALL SELECT N + 1 FROM S WHERE N < 30) SELECT ");
    const QString catalogo = QString::fromLatin1(Catalogo);
    for (QString sql : catalogo.split(QStringLiteral("\nINSERT"), Qt::SkipEmptyParts))
        ejecuta(QStringLiteral("INSERT") + sql.replace(select, numeros));
    m_docs = std::make_unique<microsip::Documentos>(m_db);
    m_docs->setMueveExistencias(false);
}

EmpresaPuntos::~EmpresaPuntos() = default;

void EmpresaPuntos::ajusta(const QString &cambios)
{
    cambia(QStringLiteral("gen=S ven=S art=N imp=N lin=N tar=N cap=0 fac=2 pes=100 ") + cambios,
           QStringLiteral("apagado"));
}

void EmpresaPuntos::cambia(const QString &cambios, const QString &escenario)
{
    microsip::ValoresPuntos valores;
    QStringList nulos, quitados;
    for (const QString &c : cambios.split(u' ', Qt::SkipEmptyParts)) {
        const QString clave = Claves.value(c.section(u'=', 0, 0).remove(u'-'));
        if (clave.isEmpty())
            throw fb::Error(QStringLiteral("unknown setting: ") + c);
        if (c.startsWith(u'-'))
            quitados << clave;
        else if (c.section(u'=', 1) == u"NULL")
            nulos << clave;
        valores << qMakePair(clave, c.section(u'=', 1));
    }
    if (m_lineaDeOrdenes && nulos.isEmpty() && quitados.isEmpty()) {
        QStringList args{QStringLiteral("points")};
        if (!escenario.isEmpty())
            args << QStringLiteral("--escenario") << escenario;
        for (const auto &[clave, v] : std::as_const(valores))
            args << QStringLiteral("--valor") << clave + u'=' + v;
        orden(args);
        return;
    }
    microsip::escribePuntos(m_db, valores);
    const QString donde = QStringLiteral(
        " WHERE NOMBRE = '%1' AND PADRE_ID = (SELECT REGISTRO_ID FROM LAR_REGISTRO WHERE NOMBRE ="
        " 'Puntos' AND PADRE_ID = (SELECT REGISTRO_ID FROM LAR_REGISTRO WHERE NOMBRE = "
        "'PuntosLar'))");
    for (const QString &c : std::as_const(nulos))
        ejecuta(QStringLiteral("UPDATE LAR_REGISTRO SET VALOR = NULL") + donde.arg(c));
    for (const QString &c : std::as_const(quitados))
        ejecuta(QStringLiteral("DELETE FROM LAR_REGISTRO") + donde.arg(c));
}

void EmpresaPuntos::ejecuta(const QString &sql)
{
    lartest::ejecuta(m_db, sql);
}

QVariant EmpresaPuntos::valor(const QString &sql)
{
    return lartest::valor(m_db, sql);
}

QString EmpresaPuntos::firma(int docto)
{
    return valor(QStringLiteral(
                     "SELECT LIST(F, ' ') FROM (SELECT COALESCE(ARTICULO_ID, '-') || ':'"
                     " || COALESCE(TIPO_DOCTO || NATURALEZA, '?') || ':' || COALESCE(UNIDADES"
                     " || ':' || VALOR_PUNTOS || ':' || PARTIDA, '?') F FROM LAR_PUNTOS WHERE"
                     " DOCTO_ID = %1 ORDER BY LAR_PUNTOS_ID)")
                     .arg(docto))
        .toString();
}

int EmpresaPuntos::saldo(int cliente)
{
    return lartest::saldo(m_db, cliente);
}

QPair<QStringList, QStringList> EmpresaPuntos::juega(const QString &guion)
{
    QStringList obtenido, esperado;
    int n = 0;
    for (QString p : guion.split(u';', Qt::SkipEmptyParts)) {
        p = p.trimmed();
        // Failures name the step by its number and its start.
        const QString cual = QStringLiteral("%1 %2 -> ").arg(++n).arg(p.left(24));
        for (auto h = m_hechos.cbegin(); h != m_hechos.cend(); ++h) {
            const QString folio = u'{' + h.key() + QStringLiteral(":folio}");
            if (p.contains(folio))
                p.replace(folio, m_docs->lee(h->sistema, h->id).folio);
            p.replace(u'{' + h.key() + u'}', QString::number(h->id));
        }
        if (p.startsWith(u'=')) {
            const qsizetype fin
                = p.startsWith(QStringLiteral("=[")) ? p.indexOf(u']') + 1 : p.indexOf(u' ');
            const QString que = fin < 0 ? p.mid(1) : p.mid(1, fin - 1);
            const QString quiere = fin < 0 ? QString() : p.mid(fin).trimmed();
            const QString real = que.startsWith(u'[') ? valor(que.mid(1).chopped(1)).toString()
                                 : que.startsWith(QStringLiteral("saldo"))
                                     ? QString::number(saldo(que.mid(5).toInt()))
                                 : m_hechos.contains(que) ? firma(m_hechos.value(que).id)
                                                          : QStringLiteral("no document ") + que;
            const QRegularExpression patron(QRegularExpression::anchoredPattern(quiere));
            obtenido << cual + (patron.match(real).hasMatch() ? quiere : real);
            esperado << cual + quiere;
            continue;
        }
        long quiere = 0;
        if (p.startsWith(u'!')) {
            quiere = p.section(u' ', 0, 0).mid(1).toLong();
            p = p.section(u' ', 1);
        }
        const QStringList args = p.split(u' ', Qt::SkipEmptyParts);
        long codigo = 0;
        QString mensaje;
        try {
            paso(args.value(0), args.mid(1));
        } catch (const fb::Error &e) {
            codigo = e.iscCode() ? e.iscCode() : -1;
            mensaje = e.message();
        }
        if (codigo != quiere) {
            obtenido << cual + QStringLiteral("error %1 %2").arg(codigo).arg(mensaje);
            esperado << cual + QStringLiteral("error %1").arg(quiere);
        }
    }
    return {obtenido, esperado};
}

void EmpresaPuntos::paso(const QString &op, const QStringList &a)
{
    if (op == u"set")
        return cambia(a.join(u' '));
    if (op == u"sql")
        return ejecuta(a.join(u' '));
    if (op == u"upgrade") {
        m_db.disconnect(); // the upgrade alters tables this attachment has used
        const bool hecho = lar::ActualizaEmpresa(
            m_entorno.rutaEmpresa(), m_entorno.entorno().rutaConfig(), m_entorno.parametros());
        m_entorno.conectaEmpresa(m_db);
        if (!hecho)
            throw fb::Error(QStringLiteral("the upgrade refused the company"));
        return;
    }
    const bool nuevo = op == u"sell" || op == u"create";
    const bool devuelve = op == u"return";
    const Hecho h = m_hechos.value(a.value(devuelve ? 1 : 0));
    const microsip::Documento d = documento(a.mid(devuelve ? 2 : 1));
    const microsip::Sistema s = nuevo ? d.sistema : h.sistema;
    int id = h.id;
    if (m_lineaDeOrdenes) {
        QStringList args{op, QStringLiteral("--sistema"), microsip::claveSistema(s)};
        if (nuevo) {
            const bool pv = s == microsip::Sistema::PV;
            args << QStringLiteral("--cliente-id") << QString::number(d.clienteId)
                 << (pv ? QStringLiteral("--cajero") : QStringLiteral("--vendedor"))
                 << QString::number(pv ? d.cajeroId : d.vendedorId) << QStringLiteral("--fecha")
                 << d.fecha.toString(Qt::ISODate);
            if (!d.tipo.isNull())
                args << QStringLiteral("--tipo") << QString(d.tipo);
            if (d.insertaAplicado)
                args << QStringLiteral("--aplicado");
        } else {
            args << QStringLiteral("--docto") << QString::number(h.id);
        }
        if (devuelve)
            args << QStringLiteral("--fecha") << h.fecha.toString(Qt::ISODate);
        for (const microsip::Renglon &r : d.renglones) {
            if (r.posicion != -1 || op == u"reapply")
                throw fb::Error(QStringLiteral("not on the command line: ") + a.join(u' '));
            args << QStringLiteral("--renglon")
                 << QStringLiteral("A%1:%2").arg(r.articuloId).arg(r.unidades.toString())
                        + (nuevo ? u':' + r.precio->toString() : QString());
        }
        id = orden(args << QStringLiteral("--sin-existencias"));
    } else if (op == u"sell") {
        id = m_docs->vende(d);
    } else if (op == u"create") {
        id = m_docs->crea(d);
    } else if (devuelve) {
        id = m_docs->devuelve(s, h.id, d.renglones, h.fecha);
    } else if (op == u"apply") {
        m_docs->aplica(s, id);
    } else if (op == u"cancel") {
        m_docs->cancela(s, id);
    } else if (op == u"unapply") {
        m_docs->desaplica(s, id);
    } else if (op == u"delete") {
        m_docs->elimina(s, id);
    } else if (op == u"cancel-return") {
        m_docs->cancelaDevolucion(s, id);
    } else if (op == u"reapply") {
        if (!d.renglones.isEmpty())
            m_docs->modifica(s, id, d.renglones);
        m_docs->reaplica(s, id);
    } else {
        throw fb::Error(QStringLiteral("unknown step: ") + op);
    }
    if (nuevo || devuelve)
        m_hechos.insert(a.value(0), {s, id, devuelve ? h.fecha : d.fecha});
}

microsip::Documento EmpresaPuntos::documento(const QStringList &args)
{
    static const QRegularExpression renglon(
        QStringLiteral("^(\\d+)x([\\d.]+)(@(-?\\d+))?(\\$([\\d.]+))?$"));
    microsip::Documento d;
    d.clienteId = 1;
    d.fecha = QDate(2026, 3, 10);
    int quien = 0;
    for (const QString &t : args) {
        const QRegularExpressionMatch m = renglon.match(t);
        const int n = t.mid(1).toInt();
        if (m.hasMatch()) {
            microsip::Renglon r;
            r.articuloId = m.captured(1).toInt();
            r.unidades = *fb::Decimal::fromString(m.captured(2));
            if (m.hasCaptured(4))
                r.posicion = m.captured(4).toInt();
            r.precio
                = fb::Decimal::fromString(m.hasCaptured(6) ? m.captured(6) : QStringLiteral("100"));
            d.renglones << r;
        } else if (t == u"ve") {
            d.sistema = microsip::Sistema::VE;
        } else if (t == u"applied") {
            d.insertaAplicado = true;
        } else if (t.startsWith(u'c')) {
            d.clienteId = n;
        } else if (t.startsWith(u'k')) {
            quien = n;
        } else if (t.startsWith(u'd')) {
            d.fecha = d.fecha.addDays(n);
        } else if (t.startsWith(u't')) {
            d.tipo = t.at(1);
        }
    }
    const bool pv = d.sistema == microsip::Sistema::PV;
    (pv ? d.cajeroId : d.vendedorId) = quien ? quien : (pv ? 7 : 1);
    return d;
}

int EmpresaPuntos::orden(QStringList args)
{
    args.insert(1, m_entorno.carpeta());
    m_db.disconnect(); // the embedded engine lets one process at a time open the file
    QProcess p;
    // The build folder: CTest says which; run by hand, the test sits in tests/points of it.
    QString build = qEnvironmentVariable("LAR_BUILD_DIR");
    if (build.isEmpty())
        build = QCoreApplication::applicationDirPath() + QStringLiteral("/../..");
    p.start(build + QStringLiteral("/microsip/microsip-sim"), args);
    const bool hecho = p.waitForFinished(120000) && p.exitCode() == 0;
    m_entorno.conectaEmpresa(m_db);
    if (!hecho)
        throw fb::Error(args.join(u' ') + u' ' + QString::fromUtf8(p.readAllStandardError()), -1);
    return QString::fromUtf8(p.readAllStandardOutput()).section(u' ', 0, 0).toInt();
}

} // namespace lartest
