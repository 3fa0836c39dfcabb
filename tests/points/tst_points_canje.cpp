// The save, reopening and cancel of a redemption against the stand-in Microsip: the
// issue document and its stock, the ledger rows, the folios in both shapes of
// Microsip, the refusals, two stations on the local server and a station killed in
// the middle of a save.

#include "tiendacanje.h"

#include "points/guardaventa.h"
#include "points/ledger.h"

#include "core/ids.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "microsip/sim/siembra.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QProcess>
#include <QTest>
#include <QThread>

#include <memory>

using namespace lar;
using lartest::Tienda;
using namespace Qt::StringLiterals;

namespace {

// A row of the ledger as "article:TIPO+NATURALEZA:SISTEMA:UNIDADES:VALOR:PARTIDA:FOLIO".
QStringList ledgerDe(Tienda &t, int docto)
{
    QStringList filas;
    fb::Query q(&t.s.fbDatabase(), &t.s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(u"select articulo_id, tipo_docto, naturaleza, sistema, unidades, valor_puntos, "
             "partida, folio from lar_puntos where docto_id=:d order by partida"_s);
    q.bind(u"d"_s, docto);
    for (q.open(); !q.eof(); q.next())
        filas << u"%1:%2%3:%4:%5:%6:%7:%8"_s.arg(q.field(0).toInt())
                     .arg(q.field(1).toString(), q.field(2).toString(), q.field(3).toString())
                     .arg(q.field(4).toInt())
                     .arg(q.field(5).toInt())
                     .arg(q.field(6).toInt())
                     .arg(q.field(7).toString());
    return filas;
}

constexpr const char *kCrashEnv = "LAR_CANJE_HIJO";

} // namespace

class TestCanje : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_series = std::make_unique<Tienda>(true);
        m_sigFolio = std::make_unique<Tienda>(false);
    }

    // A whole redemption in both shapes of Microsip's folios: the issue, its applied
    // lines and stock, the ledger tied by DOCTO_ID, the folio advanced; read back;
    // then cancelled: the balance and the stock come back, the rows stay as 'X'.
    void redencionCompleta_data()
    {
        QTest::addColumn<bool>("series");
        QTest::newRow("FOLIOS_CONCEPTOS") << true;
        QTest::newRow("CONCEPTOS_IN.SIG_FOLIO") << false;
    }
    void redencionCompleta()
    {
        QFETCH(bool, series);
        Tienda &t = series ? *m_series : *m_sigFolio;
        GuardaRegistro(t.s, u"ArtBoleto"_s, QString());
        const double exis1 = t.existencia(t.art1), exis2 = t.existencia(t.art2);
        const int saldo = t.saldo();
        const QString antes = t.siguiente();
        const QString folio = series ? u"CP"_s + antes : FolioNormaliza(antes);
        // A line left without an article keeps its number in the ledger.
        LineaCanje vacia;
        const Canje c = t.canje({t.linea(t.art1, t.clave1, 2, 1),
                                 vacia,
                                 t.linea(t.boleto, t.claveBoleto, 1, 3),
                                 t.linea(t.art2, t.clave2, 3, 4)});

        GuardaVenta g(t.s);
        const GuardaVenta::Resultado r = g.guarda(c);
        QVERIFY2(r.ok, qPrintable(r.error + r.aviso.texto));
        const QString padded = FolioRellena(folio, 9);
        QCOMPARE(r.folioDocto, padded);
        QCOMPARE(t.texto(u"select folio||'|'||concepto_in_id||'|'||almacen_id||'|'||"
                         "naturaleza_concepto||aplicado||cancelado||sistema_origen"
                         "||'|'||descripcion from doctos_in where docto_in_id=%1"_s.arg(r.doctoId)),
                 u"%1|%2|%3|SSNLV|Cliente: C-1 salida generada automáticamente por "
                 "concepto de canjeo de puntos."_s.arg(padded)
                     .arg(t.concepto)
                     .arg(t.almacen));
        if (series)
            QVERIFY(
                !t.valor(u"select sucursal_id from doctos_in where docto_in_id=%1"_s.arg(r.doctoId))
                     .isNull());
        // The service line goes to the ledger only; Microsip's trigger applied the rest.
        QCOMPARE(t.texto(u"select list(articulo_id||':'||cast(unidades as "
                         "integer)||tipo_movto||aplicado, ' ') from (select * from doctos_in_det "
                         "where docto_in_id=%1 order by docto_in_det_id)"_s.arg(r.doctoId)),
                 u"%1:2SS %2:3SS"_s.arg(t.art1).arg(t.art2));
        QCOMPARE(t.existencia(t.art1), exis1 - 2);
        QCOMPARE(t.existencia(t.art2), exis2 - 3);
        QCOMPARE(ledgerDe(t, r.doctoId),
                 (QStringList{u"%1:CS:IN:2:20:1:%2"_s.arg(t.art1).arg(padded),
                              u"%1:CS:IN:1:10:3:%2"_s.arg(t.boleto).arg(padded),
                              u"%1:CS:IN:3:30:4:%2"_s.arg(t.art2).arg(padded)}));
        QCOMPARE(t.saldo(), saldo - 60);
        QCOMPARE(t.siguiente(),
                 series ? QString::number(antes.toInt() + 1) : FolioSiguiente(folio, 9));

        // Read back: the name, the warehouse, points of a unit from the whole line.
        VentaCargada v = CargaVenta(t.s, r.doctoId);
        QVERIFY(v.existe && !v.cancelada);
        QCOMPARE(v.clienteId, t.cliente);
        QCOMPARE(v.almacen, QString::number(t.almacen));
        QCOMPARE(v.cliente,
                 t.texto(u"select nombre from clientes where cliente_id=%1"_s.arg(t.cliente)));
        QCOMPARE(v.lineas.size(), 3);
        QCOMPARE(v.lineas.at(2).valorPuntos, 10);
        QCOMPARE(v.lineas.at(2).totalPuntos, 30);
        QCOMPARE(v.totalPuntos, 60);

        QCOMPARE(CancelaVenta(t.s, r.doctoId), QString());
        QCOMPARE(t.saldo(), saldo);
        QCOMPARE(t.existencia(t.art1), exis1);
        QCOMPARE(t.existencia(t.art2), exis2);
        QCOMPARE(t.texto(u"select list(distinct tipo_docto) from lar_puntos where "
                         "docto_id=%1"_s.arg(r.doctoId)),
                 u"X"_s);
        v = CargaVenta(t.s, r.doctoId);
        QVERIFY(v.cancelada);
        QCOMPARE(v.lineas.size(), 3);
    }

    // A folio taken meanwhile by another issue of the concept is stepped over; the
    // series then stores the next of the number it read, the concept the next of the
    // folio it took.
    void folioOcupado_data() { redencionCompleta_data(); }
    void folioOcupado()
    {
        QFETCH(bool, series);
        Tienda &t = series ? *m_series : *m_sigFolio;
        GuardaRegistro(t.s, u"ArtBoleto"_s, QString());
        const QString antes = t.siguiente();
        const QString folio = series ? u"CP"_s + antes : FolioNormaliza(antes);
        const QString ocupado = FolioRellena(folio, 9);
        t.ejecuta(u"insert into doctos_in (docto_in_id, almacen_id, concepto_in_id, "
                  "folio, naturaleza_concepto, aplicado) values (-1, %1, %2, '%3', "
                  "'S', 'N')"_s.arg(t.almacen)
                      .arg(t.concepto)
                      .arg(ocupado));
        GuardaVenta g(t.s);
        const GuardaVenta::Resultado r = g.guarda(t.canje({t.linea(t.art1, t.clave1, 1, 1)}));
        QVERIFY2(r.ok, qPrintable(r.error + r.aviso.texto));
        const QString tomado = FolioNormaliza(FolioSiguiente(folio, 9));
        QCOMPARE(r.folioDocto, FolioRellena(tomado, 9));
        QCOMPARE(t.texto(u"select folio from doctos_in where docto_in_id=%1"_s.arg(r.doctoId)),
                 FolioRellena(tomado, 9));
        QCOMPARE(ledgerDe(t, r.doctoId).value(0).section(u':', 6), FolioRellena(tomado, 9));
        QCOMPARE(t.siguiente(),
                 series ? QString::number(antes.toInt() + 1) : FolioSiguiente(tomado, 9));
    }

    // Tickets alone: ledger rows on a spent folio and a document id without a
    // DOCTOS_IN row; read back without a warehouse; cancelled in the ledger only.
    void soloBoletos()
    {
        Tienda &t = *m_series;
        GuardaRegistro(t.s, u"ArtBoleto"_s, QString::number(t.boleto));
        const int documentos = t.cuenta(u"doctos_in"_s);
        const int saldo = t.saldo();
        const QString antes = t.siguiente();
        GuardaVenta g(t.s);
        const GuardaVenta::Resultado r
            = g.guarda(t.canje({t.linea(t.boleto, t.claveBoleto, 4, 1)}));
        GuardaRegistro(t.s, u"ArtBoleto"_s, QString());
        QVERIFY2(r.ok, qPrintable(r.error + r.aviso.texto));
        QVERIFY(r.soloBoletos);
        QCOMPARE(t.cuenta(u"doctos_in"_s), documentos);
        QCOMPARE(ledgerDe(t, r.doctoId),
                 QStringList{u"%1:CS:IN:4:40:1:%2"_s.arg(t.boleto).arg(r.folioDocto)});
        QCOMPARE(t.saldo(), saldo - 40);
        QCOMPARE(t.siguiente(), QString::number(antes.toInt() + 1));
        QCOMPARE(CargaVenta(t.s, r.doctoId).almacen, u"--1"_s);
        QCOMPARE(CancelaVenta(t.s, r.doctoId), QString());
        QCOMPARE(t.saldo(), saldo);
    }

    // Every refusal leaves nothing: no issue, no ledger row, the folio where it was.
    void fallas()
    {
        Tienda &t = *m_sigFolio;
        GuardaRegistro(t.s, u"ArtBoleto"_s, QString());
        const int documentos = t.cuenta(u"doctos_in"_s);
        const int filas = t.cuenta(u"lar_puntos"_s);
        const QString folio = t.siguiente();
        const double exis = t.existencia(t.art1);
        GuardaVenta g(t.s);
        auto intenta = [&](const Canje &c) {
            const GuardaVenta::Resultado r = g.guarda(c);
            [&] {
                QVERIFY(!r.ok);
                QCOMPARE(t.cuenta(u"doctos_in"_s), documentos);
                QCOMPARE(t.cuenta(u"lar_puntos"_s), filas);
                QCOMPARE(t.siguiente(), folio);
                QCOMPARE(t.existencia(t.art1), exis);
            }();
            return r;
        };
        const Canje bueno = t.canje({t.linea(t.art1, t.clave1, 1, 1)});

        Canje c = bueno;
        c.clienteId = 0;
        GuardaVenta::Resultado r = intenta(c);
        QCOMPARE(r.aviso.texto, u"Primero debe seleccionar un cliente."_s);
        QCOMPARE(r.aviso.foco, AvisoCanje::Cliente);
        c = bueno;
        c.almacenId = -1;
        QCOMPARE(intenta(c).aviso.texto, u"Primero debe seleccionar un almacén."_s);
        c = bueno;
        c.lineas.clear();
        r = intenta(c);
        QCOMPARE(r.aviso.texto, u"La venta no tiene artículos"_s);
        QCOMPARE(r.aviso.clase, u"Error"_s);

        // The concept: not configured (silent), unknown, folios by hand.
        GuardaRegistro(t.s, u"Concepto Salida Puntos"_s, QString());
        QCOMPARE(intenta(bueno).aviso.clase, u"Verificar"_s);
        GuardaRegistro(t.s, u"Concepto Salida Puntos"_s, u"999999"_s);
        QCOMPARE(intenta(bueno).aviso.texto,
                 u"No se encontró el concepto de inventarios en Microsip"_s);
        GuardaRegistro(t.s, u"Concepto Salida Puntos"_s, QString::number(t.concepto));
        t.ejecuta(
            u"update conceptos_in set folio_autom='N' where concepto_in_id=%1"_s.arg(t.concepto));
        QCOMPARE(intenta(bueno).aviso.texto,
                 u"Debe configurar los folios de Salida por puntos como automáticos"_s);
        t.ejecuta(
            u"update conceptos_in set folio_autom='S' where concepto_in_id=%1"_s.arg(t.concepto));

        // Microsip's trigger refuses an exit beyond the stock: the engine's text.
        c = t.canje({t.linea(t.art1, t.clave1, int(exis) + 1, 1)});
        r = intenta(c);
        QVERIFY2(r.error.contains(u"existencia"_s), qPrintable(r.error));
        QVERIFY(!r.enPuntos);
        // No rollback after an error in the issue: the folio, the header and its lines
        // stay pending in fbUpdateTrans, and the next commit on it, here a customer
        // lock's, makes them durable; the document never applied, stock and ledger agree.
        QVERIFY(r.pendiente);
        QVERIFY(t.s.fbUpdateTrans().isActive());
        BloqueaCliente(t.s, t.cliente, t.clave1, u"Cliente"_s);
        LiberaCliente(t.s, t.cliente);
        QVERIFY(!t.s.fbUpdateTrans().isActive());
        QCOMPARE(t.cuenta(u"doctos_in"_s), documentos + 1);
        QCOMPARE(t.texto(u"select aplicado from doctos_in where docto_in_id = "
                         "(select max(docto_in_id) from doctos_in)"_s),
                 u"N"_s);
        QCOMPARE(t.cuenta(u"lar_puntos"_s), filas);
        QCOMPARE(t.existencia(t.art1), exis);
        QVERIFY(t.siguiente() != folio);
    }

    // Two stations on the local server. The customer lock is seen by the other station
    // and only its holder, or a forced release, removes it. A save that meets another
    // station's uncommitted change of the folio row fails at once, writing nothing;
    // once that station commits, the save goes through.
    void dosEstaciones()
    {
        if (!lartest::serverAvailable())
            QSKIP("local Firebird server not running");
        Tienda t(true, true);
        Sesion otra;
        t.env->conectaSesion(otra);
        otra.UsuarioActual = u"CAJERO2"_s;

        BloqueaCliente(t.s, t.cliente, u"C-1"_s, u"Cliente"_s);
        BloqueoCliente b = LeeBloqueo(otra, t.cliente);
        QVERIFY(b.existe);
        QCOMPARE(b.usuario, t.s.UsuarioActual);
        LiberaCliente(otra, t.cliente);
        QVERIFY(LeeBloqueo(t.s, t.cliente).existe);
        LiberaClienteForzado(otra, t.cliente);
        QVERIFY(!LeeBloqueo(t.s, t.cliente).existe);

        fb::Query q(&otra.fbDatabase(), &otra.fbUpdateTrans());
        q.setSql(u"update folios_conceptos set consecutivo = consecutivo + 100 "
                 "where concepto_id = :c"_s);
        q.bind(u"c"_s, t.concepto);
        q.execute();
        const int documentos = t.cuenta(u"doctos_in"_s);
        const int filas = t.cuenta(u"lar_puntos"_s);
        const double exis = t.existencia(t.art1);
        GuardaVenta g(t.s);
        const Canje c = t.canje({t.linea(t.art1, t.clave1, 1, 1)});
        GuardaVenta::Resultado r = g.guarda(c);
        QVERIFY(!r.ok);
        QVERIFY2(r.error.contains(u"deadlock"_s, Qt::CaseInsensitive)
                     || r.error.contains(u"conflict"_s, Qt::CaseInsensitive),
                 qPrintable(r.error));
        QVERIFY(r.pendiente);
        QCOMPARE(t.cuenta(u"doctos_in"_s), documentos);
        QCOMPARE(t.cuenta(u"lar_puntos"_s), filas);
        QCOMPARE(t.existencia(t.art1), exis);

        // The failed save left its transaction active with nothing in it; the next
        // save goes on in it once the other station has committed.
        otra.UpdateCommit();
        r = g.guarda(c);
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(t.existencia(t.art1), exis - 1);
        QCOMPARE(ledgerDe(t, r.doctoId).size(), 1);
    }

    // A station killed after the header, its lines and the apply, before the ledger
    // and the commit: after a restart nothing of it is there.
    void caida()
    {
        Tienda &t = *m_series;
        GuardaRegistro(t.s, u"ArtBoleto"_s, QString());
        const int documentos = t.cuenta(u"doctos_in"_s);
        const int filas = t.cuenta(u"lar_puntos"_s);
        const double exis = t.existencia(t.art1);
        const QString folio = t.siguiente();
        // The embedded engine serves one process at a time: let the child have it.
        t.s.desconecta();

        QProcess hijo;
        QProcessEnvironment entorno = QProcessEnvironment::systemEnvironment();
        entorno.insert(QString::fromLatin1(kCrashEnv),
                       u"%1|%2|%3|%4|%5"_s.arg(t.env->carpeta(), t.env->rutaEmpresa())
                           .arg(t.cliente)
                           .arg(t.almacen)
                           .arg(t.art1));
        hijo.setProcessEnvironment(entorno);
        hijo.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        hijo.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(hijo.waitForStarted());
        QByteArray salida;
        while (!salida.contains("encabezado") && hijo.waitForReadyRead(60000))
            salida += hijo.readAllStandardOutput();
        QVERIFY2(salida.contains("encabezado"), salida.constData());
        hijo.kill();
        QVERIFY(hijo.waitForFinished());

        t.env->conectaSesion(t.s);
        QCOMPARE(t.cuenta(u"doctos_in"_s), documentos);
        QCOMPARE(t.cuenta(u"lar_puntos"_s), filas);
        QCOMPARE(t.existencia(t.art1), exis);
        QCOMPARE(t.siguiente(), folio);

        // The session's prepared statements of the save outlive a reconnection.
        GuardaVenta g(t.s);
        const GuardaVenta::Resultado r = g.guarda(t.canje({t.linea(t.art1, t.clave1, 1, 1)}));
        QVERIFY2(r.ok, qPrintable(r.error + r.aviso.texto));
        QCOMPARE(ledgerDe(t, r.doctoId).size(), 1);
        QCOMPARE(t.existencia(t.art1), exis - 1);
    }

private:
    std::unique_ptr<Tienda> m_series, m_sigFolio;
};

// The child of the crash test: a station that saves up to the apply and waits to die.
static int estacionQueCae(const QString &datos)
{
    const QStringList p = datos.split(u'|');
    Sesion s;
    {
        fb::Database &db = s.fbDatabase();
        db.setDatabaseName(p.at(1));
        db.setParams(lartest::sysdbaParams());
        // The parent's engine may take a moment to let go of the file.
        for (int intento = 0;; ++intento) {
            try {
                db.connect();
                break;
            } catch (const fb::Error &e) {
                if (intento == 50) {
                    fprintf(stderr, "%s\n", qPrintable(e.message()));
                    return 3;
                }
                QThread::msleep(100);
            }
        }
    }
    s.UsuarioActual = u"SYSDBA"_s;
    Canje c;
    c.clienteId = p.at(2).toInt();
    c.txtCliente = u"C-1"_s;
    c.almacenId = p.at(3).toInt();
    LineaCanje l;
    l.articuloId = p.at(4).toInt();
    l.unidades = 1;
    l.valorPuntos = l.totalPuntos = 10;
    l.partida = 1;
    c.lineas = {l};
    GuardaVenta g(s);
    GuardaVenta::Estado estado;
    AvisoCanje aviso;
    s.TransInicia();
    if (!g.GuardaDoctoIn(c, estado, aviso))
        return 2;
    fputs("encabezado\n", stdout);
    fflush(stdout);
    for (;;)
        QThread::sleep(1);
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QByteArray hijo = qgetenv(kCrashEnv);
    if (!hijo.isEmpty())
        return estacionQueCae(QString::fromLocal8Bit(hijo));
    return lartest::ejecuta<TestCanje>(argc, argv);
}

#include "tst_points_canje.moc"
