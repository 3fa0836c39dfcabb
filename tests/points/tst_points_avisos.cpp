// The scheduled reset: notice mails through a real SMTP server (STARTTLS, AUTH),
// their records, the reset on or after the date, and the main window's timer.

#include "core/fmain.h"
#include "core/ids.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "points/avisos.h"
#include "points/ledger.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace lar;

namespace {

const char SinServidor[] = "Sin servidor SMTP de prueba (scripts/smtpd, make test lo inicia)";

struct Recibido
{
    QStringList info;
    QByteArray encabezados;
    QByteArray cuerpo;
};

} // namespace

class TstAvisos : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;
    fb::Database m_db;
    QString m_mensajes;
    QString m_puerto;

    void ejecuta(const QString &sql)
    {
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        q.setSql(sql);
        q.execute();
        tr.commit();
    }

    QString valor(const QString &sql)
    {
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        q.setTrimChars(true);
        q.setSql(sql);
        QStringList out;
        for (q.open(); !q.eof(); q.next()) {
            QStringList c;
            for (int i = 0; i < q.fieldCount(); ++i)
                c << (q.field(i).isNull() ? QStringLiteral("null") : q.field(i).toTrimmed());
            out << c.join(u'|');
        }
        tr.commit();
        return out.join(u';');
    }

    // A customer with a movement (points on a date) and its mail addresses.
    void cliente(int id,
                 const QString &nombre,
                 int puntos,
                 const QStringList &correos,
                 const QString &fecha = QStringLiteral("2027-03-01 10:00:00"))
    {
        ejecuta(QStringLiteral("INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE) VALUES (%1, '%2')")
                    .arg(id)
                    .arg(nombre));
        ejecuta(QStringLiteral("INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, "
                               "NATURALEZA, VALOR_PUNTOS, SISTEMA, FOLIO, FECHA) VALUES "
                               "(GEN_ID(GEN_LAR_PUNTOS, 1), %1, 'A', '%2', %3, 'AP', 'Z00000001', "
                               "'%4')")
                    .arg(id)
                    .arg(QChar(puntos < 0 ? u'S' : u'E'))
                    .arg(qAbs(puntos))
                    .arg(fecha));
        int n = 0;
        for (const QString &c : correos)
            ejecuta(QStringLiteral("INSERT INTO DIRS_CLIENTES (DIR_CLI_ID, CLIENTE_ID, "
                                   "NOMBRE_CONSIG, EMAIL) VALUES (%1, %2, 'Dir', '%3')")
                        .arg(id * 10 + n++)
                        .arg(id)
                        .arg(c));
    }

    void ajusta(Sesion &s, const QString &nombre, const QString &v)
    {
        GuardaRegistro(s, nombre, v);
    }

    void programa(Sesion &s, const QString &fecha, const QString &dias)
    {
        ajusta(s, QStringLiteral("Reiniciar Puntos Automaticamente"), QStringLiteral("S"));
        ajusta(s, QStringLiteral("Fecha establecida para el reinicio"), fecha);
        ajusta(s, QStringLiteral("Dias antes del reinicio para enviar correo"), dias);
    }

    void cuenta(Sesion &s, const QString &puerto)
    {
        ajusta(s, QStringLiteral("CorreoRem"), QStringLiteral("tienda@larvenos.mx"));
        ajusta(s, QStringLiteral("Password"), QStringLiteral("clave secreta"));
        ajusta(s, QStringLiteral("Host"), QStringLiteral("127.0.0.1"));
        ajusta(s, QStringLiteral("Puerto"), puerto);
    }

    // The messages the server stored since the last call, oldest first; they are
    // taken away.
    QList<Recibido> recibidos()
    {
        QList<Recibido> out;
        QDir d(m_mensajes);
        const QStringList infos = d.entryList({QStringLiteral("*.info")}, QDir::Files, QDir::Name);
        QStringList ordenados = infos;
        std::sort(ordenados.begin(), ordenados.end(), [](const QString &a, const QString &b) {
            return a.section(u'-', 1).section(u'.', 0, 0).toInt()
                   < b.section(u'-', 1).section(u'.', 0, 0).toInt();
        });
        for (const QString &i : std::as_const(ordenados)) {
            Recibido r;
            QFile fi(d.filePath(i));
            fi.open(QIODevice::ReadOnly);
            r.info = QString::fromUtf8(fi.readAll()).split(u'\n', Qt::SkipEmptyParts);
            fi.close();
            const QString eml = d.filePath(i.chopped(5) + QStringLiteral(".eml"));
            QFile fe(eml);
            fe.open(QIODevice::ReadOnly);
            const QByteArray todo = fe.readAll();
            fe.close();
            const qsizetype corte = todo.indexOf("\r\n\r\n");
            r.encabezados = todo.left(corte);
            r.cuerpo = todo.mid(corte + 4);
            out << r;
            QFile::remove(d.filePath(i));
            QFile::remove(eml);
        }
        return out;
    }

    static QByteArray encabezado(const Recibido &r, const QByteArray &nombre)
    {
        const QList<QByteArray> lineas = r.encabezados.split('\n');
        for (const QByteArray &l : lineas)
            if (l.startsWith(nombre + ": "))
                return l.mid(nombre.size() + 2).trimmed();
        return {};
    }

    // The log's lines since the last call, without their date and time.
    QStringList bitacora()
    {
        QFile f(CarpetaLog() + QStringLiteral("LarPuntos.txt"));
        QStringList out;
        if (f.open(QIODevice::ReadOnly)) {
            const QStringList lineas
                = QString::fromUtf8(f.readAll()).split(u'\n', Qt::SkipEmptyParts);
            for (const QString &l : lineas)
                out << l.mid(QStringLiteral("dd/MM/yyyy hh:mm AM  ").size());
            f.close();
            f.remove();
        }
        return out;
    }

    static QByteArray cuerpo(const QString &nombre, int puntos, const QString &fecha)
    {
        return (QStringLiteral("Estimado ") + nombre
                + QStringLiteral(" cliente de Empresa de demostración su saldo de %1 puntos esta a "
                                 "punto de expirar, uselos antes de ")
                      .arg(puntos)
                + fecha
                + QStringLiteral(".Este correo fue enviado automáticamente, por favor, no conteste "
                                 "este mensaje.\r\n"))
            .toUtf8();
    }

    static QDateTime momento(int m, int d, int h)
    {
        return QDateTime(QDate(2027, m, d), QTime(h, 0));
    }

private slots:
    void initTestCase()
    {
        qputenv("LARVENOS_DATOS", lartest::tempPath(QStringLiteral("datos")).toUtf8());
        QDir().mkpath(lartest::tempPath(QStringLiteral("datos")));
        m_puerto = qEnvironmentVariable("LAR_SMTP_PORT");
        m_mensajes = qEnvironmentVariable("LAR_SMTP_MENSAJES");
        m_env = std::make_unique<lartest::EntornoPrueba>();
        m_env->instalaExtension();
        m_env->conectaEmpresa(m_db);
        if (!m_puerto.isEmpty())
            recibidos();
    }

    // The mail routine alone: what reaches the server, and what the log says for
    // each outcome.
    void correoPorSmtp()
    {
        if (m_puerto.isEmpty())
            QSKIP(SinServidor);
        Sesion s;
        m_env->conectaSesion(s);
        cuenta(s, m_puerto);
        AvisosReinicio avisos(s);
        bitacora();

        QVERIFY(avisos.EnviaAvisoReinicio(QStringLiteral("ana@correo.mx; luis@correo.mx;"),
                                          QStringLiteral("ANA PÉREZ"),
                                          QStringLiteral("120"),
                                          QDate(2027, 12, 5)));
        QList<Recibido> r = recibidos();
        QCOMPARE(r.size(), 1);
        QCOMPARE(r[0].info,
                 (QStringList{QStringLiteral("from tienda@larvenos.mx"),
                              QStringLiteral("to ana@correo.mx"),
                              QStringLiteral("to luis@correo.mx"),
                              r[0].info.value(3),
                              QStringLiteral("login tienda@larvenos.mx clave secreta")}));
        // The login went over the upgraded channel.
        QVERIFY2(r[0].info.value(3).startsWith(QStringLiteral("tls TLS")),
                 qPrintable(r[0].info.value(3)));
        QCOMPARE(encabezado(r[0], "Subject"),
                 QByteArray("Sus puntos Larvenos estan a punto de vencer."));
        QCOMPARE(encabezado(r[0], "From"), QByteArray("tienda@larvenos.mx"));
        QCOMPARE(encabezado(r[0], "To"), QByteArray("ana@correo.mx, luis@correo.mx"));
        QCOMPARE(r[0].cuerpo,
                 cuerpo(QStringLiteral("ANA PÉREZ"), 120, QStringLiteral("05/Dic/2027")));
        QCOMPARE(bitacora(),
                 QStringList{QStringLiteral("=-=-=-=- Correo enviado correctamente a "
                                            "ana@correo.mx; luis@correo.mx; =-=-=-= ")});

        // A refused recipient: nothing stored, logged, and it still counts as sent.
        QVERIFY(avisos.EnviaAvisoReinicio(QStringLiteral("rechazado@correo.mx"),
                                          QStringLiteral("X"),
                                          QStringLiteral("1"),
                                          QDate(2027, 1, 9)));
        QVERIFY(recibidos().isEmpty());
        QStringList log = bitacora();
        QCOMPARE(log.size(), 1);
        QVERIFY2(log[0].startsWith(QStringLiteral("Error al enviar el mensaje: "))
                     && log[0].size() > 30,
                 qPrintable(log[0]));

        // No sender: logged, and the mail goes all the same (here, refused for it).
        ajusta(s, QStringLiteral("CorreoRem"), QString());
        avisos.EnviaAvisoReinicio(QStringLiteral("ana@correo.mx"),
                                  QStringLiteral("ANA"),
                                  QStringLiteral("5"),
                                  QDate(2027, 1, 9));
        recibidos();
        QCOMPARE(bitacora().value(0),
                 QStringLiteral("Verifique los correos de remitente y destino."));

        // No address: it goes to the sender.
        cuenta(s, m_puerto);
        QVERIFY(avisos.EnviaAvisoReinicio(
            QString(), QStringLiteral("ANA"), QStringLiteral("5"), QDate(2027, 1, 9)));
        r = recibidos();
        QCOMPARE(r.size(), 1);
        QCOMPARE(r[0].info.value(1), QStringLiteral("to tienda@larvenos.mx"));
        bitacora();

        // The server down: not sent, one line.
        ajusta(s, QStringLiteral("Puerto"), QStringLiteral("1"));
        QVERIFY(!avisos.EnviaAvisoReinicio(QStringLiteral("ana@correo.mx"),
                                           QStringLiteral("ANA"),
                                           QStringLiteral("5"),
                                           QDate(2027, 1, 9)));
        log = bitacora();
        QCOMPARE(log.size(), 1);
        QVERIFY2(log[0].startsWith(QStringLiteral("Error al conectar con el servidor."))
                     && log[0].size() > 35,
                 qPrintable(log[0]));
    }

    // The check through the state table, on one schedule: R = 10/03/2027, D = 5.
    void revisionPorFechas()
    {
        if (m_puerto.isEmpty())
            QSKIP(SinServidor);
        recibidos();
        cliente(1,
                QStringLiteral("ANA"),
                50,
                {QStringLiteral("ana1@correo.mx"), QStringLiteral("ana2@correo.mx")});
        cliente(2, QStringLiteral("BETO"), 30, {});
        // CARLA has nothing: the cursor skips to CECI, taken without a look at hers.
        cliente(3, QStringLiteral("CARLA"), 0, {QStringLiteral("carla@correo.mx")});
        cliente(4, QStringLiteral("CECI"), -5, {QStringLiteral("ceci@correo.mx")});
        cliente(5, QStringLiteral("DANIEL"), 10, {QStringLiteral("daniel@correo.mx")});
        // Earned on day R itself: kept through the reset.
        cliente(6, QStringLiteral("HUGO"), 8, {}, QStringLiteral("2027-03-10 09:00:00"));
        Sesion s;
        m_env->conectaSesion(s);
        cuenta(s, m_puerto);
        ajusta(s, QStringLiteral("Folio Puntos"), QStringLiteral("R7"));
        programa(s, QStringLiteral("10/03/2027"), QStringLiteral("5"));
        AvisosReinicio avisos(s);

        // Before R - D: nothing.
        AvisosReinicio::Revision r = avisos.RevisaReinicio(momento(3, 4, 23));
        QVERIFY(avisos.mCorreos.empty());
        QVERIFY(!r.reinicioIntentado);
        QVERIFY(recibidos().isEmpty());

        // On A: one mail per address, each recorded, in the order of the names.
        QStringList enviados;
        int registradosAlEnviar = -1;
        r = avisos.RevisaReinicio(momento(3, 5, 9), [&](const AvisoCorreo &a, int i, int total) {
            // The records so far are committed before the next mail.
            if (i == 1)
                registradosAlEnviar
                    = valor(QStringLiteral("SELECT COUNT(*) FROM LAR_AVISO_REINICIO")).toInt();
            enviados << a.destino + u'/' + QString::number(total);
            return AvisosReinicio::enviaAviso(a);
        });
        QVERIFY(r.errorAvisos.isEmpty());
        QVERIFY(!r.reinicioIntentado);
        QCOMPARE(enviados,
                 (QStringList{QStringLiteral("ana1@correo.mx/4"),
                              QStringLiteral("ana2@correo.mx/4"),
                              QStringLiteral("ceci@correo.mx/4"),
                              QStringLiteral("daniel@correo.mx/4")}));
        QCOMPARE(registradosAlEnviar, 1);
        QList<Recibido> m = recibidos();
        QCOMPARE(m.size(), 4);
        QCOMPARE(m[0].cuerpo, cuerpo(QStringLiteral("ANA"), 50, QStringLiteral("10/Mar/2027")));
        QCOMPARE(m[2].cuerpo, cuerpo(QStringLiteral("CECI"), -5, QStringLiteral("10/Mar/2027")));
        QCOMPARE(valor(QStringLiteral(
                     "SELECT CLIENTE_ID, CORREO, FECHA_REINICIO, FECHA_AVISO, PUNTOS_REINICIADOS, "
                     "FECHA_ENVIO_EMAIL - CURRENT_DATE, IIF(ID_REINICIO > 0, 1, 0) FROM "
                     "LAR_AVISO_REINICIO ORDER BY CORREO")),
                 QStringLiteral("1|ana1@correo.mx|2027-03-10|2027-03-05|50|0|1;"
                                "1|ana2@correo.mx|2027-03-10|2027-03-05|50|0|1;"
                                "4|ceci@correo.mx|2027-03-10|2027-03-05|-5|0|1;"
                                "5|daniel@correo.mx|2027-03-10|2027-03-05|10|0|1"));

        // Later checks in the window: only those not yet noticed.
        r = avisos.RevisaReinicio(momento(3, 6, 9));
        QVERIFY(avisos.mCorreos.empty());
        QVERIFY(recibidos().isEmpty());

        // The server down: one failure per customer in the log, no record; the next
        // check with the server back sends it.
        cliente(7, QStringLiteral("EVA"), 3, {QStringLiteral("eva@correo.mx")});
        ajusta(s, QStringLiteral("Puerto"), QStringLiteral("1"));
        bitacora();
        r = avisos.RevisaReinicio(momento(3, 9, 23));
        QCOMPARE(r.avisosEnviados, 0);
        const QStringList log = bitacora();
        QCOMPARE(log.size(), 1);
        QVERIFY(log[0].startsWith(QStringLiteral("Error al conectar con el servidor.")));
        QCOMPARE(
            valor(QStringLiteral("SELECT COUNT(*) FROM LAR_AVISO_REINICIO WHERE CLIENTE_ID = 7")),
            QStringLiteral("0"));
        ajusta(s, QStringLiteral("Puerto"), m_puerto);
        r = avisos.RevisaReinicio(momento(3, 9, 23));
        QCOMPARE(r.avisosEnviados, 1);
        QCOMPARE(recibidos().size(), 1);

        // On R: no notices any more (FELIPE gets none), the reset up to R.
        cliente(8, QStringLiteral("FELIPE"), 4, {QStringLiteral("felipe@correo.mx")});
        r = avisos.RevisaReinicio(momento(3, 12, 8));
        QVERIFY(avisos.mCorreos.empty());
        QVERIFY(recibidos().isEmpty());
        QVERIFY(r.reinicioIntentado);
        QVERIFY2(r.reinicio.ok, qPrintable(r.reinicio.error));
        QCOMPARE(r.reinicio.clientes, 8);
        QCOMPARE(
            valor(QStringLiteral("SELECT LIST(CLIENTE_ID || ':' || VALOR_PUNTOS || ':' || PARTIDA) "
                                 "FROM (SELECT * FROM LAR_PUNTOS WHERE FOLIO = 'R00000007' AND "
                                 "FECHA = '2027-03-10' ORDER BY PARTIDA)")),
            QStringLiteral("1:50:1,2:30:2,3:0:3,4:-5:4,5:10:5,6:0:6,7:3:7,8:4:8"));
        QCOMPARE(
            valor(QStringLiteral("SELECT COUNT(*), MIN(FECHA_PROGRAMADA), MAX(FECHA_REINICIO) - "
                                 "CURRENT_DATE FROM LAR_REINICIO_PUNTOS")),
            QStringLiteral("8|2027-03-10|0"));
        QCOMPARE(LeeRegistro(s, QStringLiteral("Folio Puntos")), QStringLiteral("R00000008"));
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        QCOMPARE(SaldoCliente(6, q), 8);
        QCOMPARE(SaldoCliente(1, q), 0);
        tr.commit();

        // Done means never again.
        r = avisos.RevisaReinicio(momento(3, 20, 8));
        QVERIFY(!r.reinicioIntentado);
        QCOMPARE(valor(QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS WHERE TIPO_DOCTO = 'S'")),
                 QStringLiteral("8"));
    }

    // D = 0: no notice at all, the reset on R; a failure part-way leaves nothing
    // and the next check does it.
    void sinDiasYFallaAMedias()
    {
        if (m_puerto.isEmpty())
            QSKIP(SinServidor);
        Sesion s;
        m_env->conectaSesion(s);
        cuenta(s, m_puerto);
        programa(s, QStringLiteral("01/06/2027"), QStringLiteral("0"));
        ajusta(s, QStringLiteral("Folio Puntos"), QStringLiteral("T1"));
        AvisosReinicio avisos(s);
        AvisosReinicio::Revision r = avisos.RevisaReinicio(momento(5, 31, 23));
        QVERIFY(!r.reinicioIntentado);
        QVERIFY(avisos.mCorreos.empty());

        ejecuta(QStringLiteral("CREATE EXCEPTION E_PRUEBA_AVISOS 'sin reinicio para EVA'"));
        ejecuta(QStringLiteral("CREATE TRIGGER TR_PRUEBA_AVISOS FOR LAR_REINICIO_PUNTOS BEFORE "
                               "INSERT AS BEGIN IF ((SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS "
                               "WHERE FECHA_PROGRAMADA = '2027-06-01') = 4) THEN EXCEPTION "
                               "E_PRUEBA_AVISOS; END"));
        r = avisos.RevisaReinicio(momento(6, 1, 8));
        ejecuta(QStringLiteral("DROP TRIGGER TR_PRUEBA_AVISOS"));
        QVERIFY(r.reinicioIntentado);
        QVERIFY(!r.reinicio.ok);
        QVERIFY2(r.reinicio.error.startsWith(QStringLiteral("Error al inicializar puntos\n"))
                     && r.reinicio.error.contains(QStringLiteral("sin reinicio para EVA")),
                 qPrintable(r.reinicio.error));
        QCOMPARE(valor(QStringLiteral("SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS WHERE "
                                      "FECHA_PROGRAMADA = '2027-06-01'")),
                 QStringLiteral("0"));
        QCOMPARE(valor(QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = 'T00000001'")),
                 QStringLiteral("0"));
        QCOMPARE(LeeRegistro(s, QStringLiteral("Folio Puntos")), QStringLiteral("T1"));

        r = avisos.RevisaReinicio(momento(6, 2, 8));
        QVERIFY2(r.reinicio.ok, qPrintable(r.reinicio.error));
        QCOMPARE(valor(QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = 'T00000001' "
                                      "AND FECHA = '2027-06-01'")),
                 QStringLiteral("8"));
        QVERIFY(recibidos().isEmpty());
    }

    // Without any ledger row no mark is written, so every check moves the folio on.
    void libroVacioMueveElFolio()
    {
        lartest::OpcionesPrueba op;
        op.carpeta = QStringLiteral("vacio");
        lartest::EntornoPrueba vacio(op);
        vacio.instalaExtension();
        Sesion s;
        vacio.conectaSesion(s);
        programa(s, QStringLiteral("01/02/2027"), QStringLiteral("3"));
        GuardaRegistro(s, QStringLiteral("Folio Puntos"), QStringLiteral("V5"));
        AvisosReinicio avisos(s);
        for (const QString &siguiente :
             {QStringLiteral("V00000006"), QStringLiteral("V00000007")}) {
            const AvisosReinicio::Revision r = avisos.RevisaReinicio(momento(2, 3, 8));
            QVERIFY(r.reinicioIntentado);
            QVERIFY2(r.reinicio.ok, qPrintable(r.reinicio.error));
            QCOMPARE(r.reinicio.clientes, 0);
            QCOMPARE(LeeRegistro(s, QStringLiteral("Folio Puntos")), siguiente);
        }
        // Switched off, or a date that can't be read: no reset.
        GuardaRegistro(
            s, QStringLiteral("Fecha establecida para el reinicio"), QStringLiteral("31/02/2027"));
        AvisosReinicio::Revision r = avisos.RevisaReinicio(momento(4, 3, 8));
        QVERIFY(!r.reinicioIntentado);
        QVERIFY(r.errorAvisos.contains(QStringLiteral("31/02/2027")));
        programa(s, QStringLiteral("01/03/2027"), QStringLiteral("3"));
        GuardaRegistro(s, QStringLiteral("Reiniciar Puntos Automaticamente"), QStringLiteral("N"));
        r = avisos.RevisaReinicio(momento(4, 3, 8));
        QVERIFY(!r.reinicioIntentado);
        QVERIFY(r.errorAvisos.isEmpty());
    }

    // Activations in a burst restart the timer: one check 5 s after the last, with
    // the timer stopped while it runs.
    void unaRevisionPorRafagaDeActivaciones()
    {
        int revisiones = 0;
        bool activoDurante = true;
        TfMain::RutinaReinicio() = [&](TfMain &m) {
            ++revisiones;
            activoDurante = m.tmrReinicio->isActive();
        };
        {
            TfMain m;
            QCOMPARE(m.tmrReinicio->interval(), 5000);
            QVERIFY(!m.tmrReinicio->isActive());
            m.fPrimeraActivacion = false; // no login here
            m.show();
            QTRY_VERIFY_WITH_TIMEOUT(m.tmrReinicio->isActive(), 20000);
            for (int i = 0; i < 3; ++i) {
                QEvent activa(QEvent::WindowActivate);
                QCoreApplication::sendEvent(&m, &activa);
                QTest::qWait(200);
            }
            QTRY_COMPARE_WITH_TIMEOUT(revisiones, 1, 20000);
            QVERIFY(!activoDurante);
            QTest::qWait(m.tmrReinicio->interval() + 1000);
            QCOMPARE(revisiones, 1);
        }
        TfMain::RutinaReinicio() = {};
    }

    // The routine of the window: the mails go while the window shows their
    // progress and keeps handling events; the reset ends with its box.
    void revisionDesdeLaVentana()
    {
        if (m_puerto.isEmpty())
            QSKIP(SinServidor);
        recibidos();
        cliente(9, QStringLiteral("IVAN"), 12, {QStringLiteral("ivan@correo.mx")});
        TfMain m;
        m_env->conectaSesion(m.sesion());
        Sesion &s = m.sesion();
        cuenta(s, m_puerto);
        const QDate hoy = QDate::currentDate();
        programa(s, FechaReinicioTexto(hoy.addDays(2)), QStringLiteral("4"));
        lartest::GuionMensajes guion;

        QStringList progreso;
        QTimer vigia;
        vigia.setInterval(0);
        connect(&vigia, &QTimer::timeout, this, [&] {
            if (m.lbProgreso && !m.lbProgreso->isHidden()
                && !progreso.contains(m.lbProgreso->text()))
                progreso << m.lbProgreso->text();
        });
        vigia.start();
        RevisaReinicio(m);
        vigia.stop();
        QVERIFY(guion.cajas().isEmpty());
        const int mails = recibidos().size();
        QVERIFY(mails >= 1);
        QCOMPARE(valor(QStringLiteral("SELECT COUNT(*) FROM LAR_AVISO_REINICIO WHERE "
                                      "FECHA_REINICIO = '%1'")
                           .arg(hoy.addDays(2).toString(Qt::ISODate))),
                 QString::number(mails));
        QVERIFY2(progreso.contains(
                     QStringLiteral("Enviando avisos de reinicio de puntos: %1 de %1").arg(mails)),
                 qPrintable(progreso.join(u',')));
        QVERIFY(m.pbProgreso->isHidden());

        programa(s, FechaReinicioTexto(hoy), QStringLiteral("4"));
        RevisaReinicio(m);
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(guion.cajas()[0].texto, QStringLiteral("Se inicializaron los puntos."));
        QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Aviso del sistema"));
        QCOMPARE(valor(QStringLiteral("SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS WHERE "
                                      "FECHA_PROGRAMADA = CURRENT_DATE")),
                 QStringLiteral("9"));
    }
};

LAR_TEST_MAIN(TstAvisos)
#include "tst_points_avisos.moc"
