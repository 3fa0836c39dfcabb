// The scheduled reset: notice mails through a real SMTP server (STARTTLS, AUTH),
// their records, the reset on or after the date, and the main window's timer.

#include "libro.h"

#include "core/fmain.h"
#include "core/ids.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "points/avisos.h"
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
using namespace Qt::StringLiterals;

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

    void ejecuta(const QString &sql) { lartest::ejecuta(m_db, sql); }
    // The rows of a query, joined by ';'.
    QString valor(const QString &sql) { return lartest::filas(m_db, sql).join(u';'); }

    // A customer with a movement (points on a date) and its mail addresses.
    void cliente(int id,
                 const QString &nombre,
                 int puntos,
                 const QStringList &correos,
                 const QString &fecha = u"2027-03-01 10:00:00"_s)
    {
        ejecuta(
            u"INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE) VALUES (%1, '%2')"_s.arg(id).arg(nombre));
        lartest::asiento(m_db, id, puntos < 0 ? u"AS"_s : u"AE"_s, qAbs(puntos), fecha);
        int n = 0;
        for (const QString &c : correos)
            ejecuta(u"INSERT INTO DIRS_CLIENTES (DIR_CLI_ID, CLIENTE_ID, "
                    "NOMBRE_CONSIG, EMAIL) VALUES (%1, %2, 'Dir', '%3')"_s.arg(id * 10 + n++)
                        .arg(id)
                        .arg(c));
    }

    void programa(Sesion &s, const QString &fecha, const QString &dias)
    {
        GuardaRegistro(s, u"Reiniciar Puntos Automaticamente"_s, u"S"_s);
        GuardaRegistro(s, u"Fecha establecida para el reinicio"_s, fecha);
        GuardaRegistro(s, u"Dias antes del reinicio para enviar correo"_s, dias);
    }

    void cuenta(Sesion &s, const QString &puerto)
    {
        GuardaRegistro(s, u"CorreoRem"_s, u"tienda@larvenos.mx"_s);
        GuardaRegistro(s, u"Password"_s, u"clave secreta"_s);
        GuardaRegistro(s, u"Host"_s, u"127.0.0.1"_s);
        GuardaRegistro(s, u"Puerto"_s, puerto);
    }

    // The messages the server stored since the last call, oldest first; they are
    // taken away.
    QList<Recibido> recibidos()
    {
        QDir d(m_mensajes);
        QStringList infos = d.entryList({u"*.info"_s}, QDir::Files);
        // mensaje-N.info, in the order of N.
        const auto seq = [](const QString &n) {
            return n.section(u'-', 1).section(u'.', 0, 0).toInt();
        };
        std::sort(infos.begin(), infos.end(), [&](const QString &a, const QString &b) {
            return seq(a) < seq(b);
        });
        const auto tomaArchivo = [](const QString &ruta) {
            QFile f(ruta);
            f.open(QIODevice::ReadOnly);
            const QByteArray b = f.readAll();
            f.remove();
            return b;
        };
        QList<Recibido> out;
        for (const QString &i : std::as_const(infos)) {
            const QString info = QString::fromUtf8(tomaArchivo(d.filePath(i)));
            const QByteArray todo = tomaArchivo(d.filePath(i.chopped(5) + u".eml"_s));
            const qsizetype corte = todo.indexOf("\r\n\r\n");
            out << Recibido{
                info.split(u'\n', Qt::SkipEmptyParts), todo.left(corte), todo.mid(corte + 4)};
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
        QFile f(CarpetaLog() + u"LarPuntos.txt"_s);
        QStringList out;
        if (f.open(QIODevice::ReadOnly)) {
            const QStringList lineas
                = QString::fromUtf8(f.readAll()).split(u'\n', Qt::SkipEmptyParts);
            for (const QString &l : lineas)
                out << l.mid(u"dd/MM/yyyy hh:mm AM  "_s.size());
            f.close();
            f.remove();
        }
        return out;
    }

    static QByteArray cuerpo(const QString &nombre, int puntos, const QString &fecha)
    {
        return (u"Estimado "_s + nombre
                + u" cliente de Empresa de demostración su saldo de %1 puntos esta a "
                  "punto de expirar, uselos antes de "_s.arg(puntos)
                + fecha
                + u".Este correo fue enviado automáticamente, por favor, no conteste "
                  "este mensaje.\r\n"_s)
            .toUtf8();
    }

    static QDateTime momento(int m, int d, int h)
    {
        return QDateTime(QDate(2027, m, d), QTime(h, 0));
    }

private slots:
    void initTestCase()
    {
        qputenv("LARVENOS_DATOS", lartest::tempPath(u"datos"_s).toUtf8());
        QDir().mkpath(lartest::tempPath(u"datos"_s));
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

        QVERIFY(avisos.EnviaAvisoReinicio(
            u"ana@correo.mx; luis@correo.mx;"_s, u"ANA PÉREZ"_s, u"120"_s, QDate(2027, 12, 5)));
        QList<Recibido> r = recibidos();
        QCOMPARE(r.size(), 1);
        QCOMPARE(r[0].info,
                 (QStringList{u"from tienda@larvenos.mx"_s,
                              u"to ana@correo.mx"_s,
                              u"to luis@correo.mx"_s,
                              r[0].info.value(3),
                              u"login tienda@larvenos.mx clave secreta"_s}));
        // The login went over the upgraded channel.
        QVERIFY2(r[0].info.value(3).startsWith(u"tls TLS"_s), qPrintable(r[0].info.value(3)));
        QCOMPARE(encabezado(r[0], "Subject"),
                 QByteArray("Sus puntos Larvenos estan a punto de vencer."));
        QCOMPARE(encabezado(r[0], "From"), QByteArray("tienda@larvenos.mx"));
        QCOMPARE(encabezado(r[0], "To"), QByteArray("ana@correo.mx, luis@correo.mx"));
        QCOMPARE(r[0].cuerpo, cuerpo(u"ANA PÉREZ"_s, 120, u"05/Dic/2027"_s));
        QCOMPARE(bitacora(),
                 QStringList{u"=-=-=-=- Correo enviado correctamente a "
                             "ana@correo.mx; luis@correo.mx; =-=-=-= "_s});

        // A refused recipient: nothing stored, logged, and it still counts as sent.
        QVERIFY(
            avisos.EnviaAvisoReinicio(u"rechazado@correo.mx"_s, u"X"_s, u"1"_s, QDate(2027, 1, 9)));
        QVERIFY(recibidos().isEmpty());
        QStringList log = bitacora();
        QCOMPARE(log.size(), 1);
        QVERIFY2(log[0].startsWith(u"Error al enviar el mensaje: "_s) && log[0].size() > 30,
                 qPrintable(log[0]));

        // No sender: logged, and the mail goes all the same (here, refused for it).
        GuardaRegistro(s, u"CorreoRem"_s, QString());
        avisos.EnviaAvisoReinicio(u"ana@correo.mx"_s, u"ANA"_s, u"5"_s, QDate(2027, 1, 9));
        recibidos();
        QCOMPARE(bitacora().value(0), u"Verifique los correos de remitente y destino."_s);

        // No address: it goes to the sender.
        cuenta(s, m_puerto);
        QVERIFY(avisos.EnviaAvisoReinicio(QString(), u"ANA"_s, u"5"_s, QDate(2027, 1, 9)));
        r = recibidos();
        QCOMPARE(r.size(), 1);
        QCOMPARE(r[0].info.value(1), u"to tienda@larvenos.mx"_s);
        bitacora();

        // The server down: not sent, one line.
        GuardaRegistro(s, u"Puerto"_s, u"1"_s);
        QVERIFY(
            !avisos.EnviaAvisoReinicio(u"ana@correo.mx"_s, u"ANA"_s, u"5"_s, QDate(2027, 1, 9)));
        log = bitacora();
        QCOMPARE(log.size(), 1);
        QVERIFY2(log[0].startsWith(u"Error al conectar con el servidor."_s) && log[0].size() > 35,
                 qPrintable(log[0]));
    }

    // The check through the state table, on one schedule: R = 10/03/2027, D = 5.
    void revisionPorFechas()
    {
        if (m_puerto.isEmpty())
            QSKIP(SinServidor);
        recibidos();
        cliente(1, u"ANA"_s, 50, {u"ana1@correo.mx"_s, u"ana2@correo.mx"_s});
        cliente(2, u"BETO"_s, 30, {});
        // CARLA has nothing: the cursor skips to CECI, taken without a look at hers.
        cliente(3, u"CARLA"_s, 0, {u"carla@correo.mx"_s});
        cliente(4, u"CECI"_s, -5, {u"ceci@correo.mx"_s});
        cliente(5, u"DANIEL"_s, 10, {u"daniel@correo.mx"_s});
        // Earned on day R itself: kept through the reset.
        cliente(6, u"HUGO"_s, 8, {}, u"2027-03-10 09:00:00"_s);
        Sesion s;
        m_env->conectaSesion(s);
        cuenta(s, m_puerto);
        GuardaRegistro(s, u"Folio Puntos"_s, u"R7"_s);
        programa(s, u"10/03/2027"_s, u"5"_s);
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
                registradosAlEnviar = valor(u"SELECT COUNT(*) FROM LAR_AVISO_REINICIO"_s).toInt();
            enviados << a.destino + u'/' + QString::number(total);
            return AvisosReinicio::enviaAviso(a);
        });
        QVERIFY(r.errorAvisos.isEmpty());
        QVERIFY(!r.reinicioIntentado);
        QCOMPARE(enviados,
                 (QStringList{u"ana1@correo.mx/4"_s,
                              u"ana2@correo.mx/4"_s,
                              u"ceci@correo.mx/4"_s,
                              u"daniel@correo.mx/4"_s}));
        QCOMPARE(registradosAlEnviar, 1);
        QList<Recibido> m = recibidos();
        QCOMPARE(m.size(), 4);
        QCOMPARE(m[0].cuerpo, cuerpo(u"ANA"_s, 50, u"10/Mar/2027"_s));
        QCOMPARE(m[2].cuerpo, cuerpo(u"CECI"_s, -5, u"10/Mar/2027"_s));
        QCOMPARE(
            valor(u"SELECT CLIENTE_ID, CORREO, FECHA_REINICIO, FECHA_AVISO, PUNTOS_REINICIADOS, "
                  "FECHA_ENVIO_EMAIL - CURRENT_DATE, IIF(ID_REINICIO > 0, 1, 0) FROM "
                  "LAR_AVISO_REINICIO ORDER BY CORREO"_s),
            u"1|ana1@correo.mx|2027-03-10|2027-03-05|50|0|1;"
            "1|ana2@correo.mx|2027-03-10|2027-03-05|50|0|1;"
            "4|ceci@correo.mx|2027-03-10|2027-03-05|-5|0|1;"
            "5|daniel@correo.mx|2027-03-10|2027-03-05|10|0|1"_s);

        // Later checks in the window: only those not yet noticed.
        r = avisos.RevisaReinicio(momento(3, 6, 9));
        QVERIFY(avisos.mCorreos.empty());
        QVERIFY(recibidos().isEmpty());

        // The server down: one failure per customer in the log, no record; the next
        // check with the server back sends it.
        cliente(7, u"EVA"_s, 3, {u"eva@correo.mx"_s});
        GuardaRegistro(s, u"Puerto"_s, u"1"_s);
        bitacora();
        r = avisos.RevisaReinicio(momento(3, 9, 23));
        QCOMPARE(r.avisosEnviados, 0);
        const QStringList log = bitacora();
        QCOMPARE(log.size(), 1);
        QVERIFY(log[0].startsWith(u"Error al conectar con el servidor."_s));
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_AVISO_REINICIO WHERE CLIENTE_ID = 7"_s), u"0"_s);
        GuardaRegistro(s, u"Puerto"_s, m_puerto);
        r = avisos.RevisaReinicio(momento(3, 9, 23));
        QCOMPARE(r.avisosEnviados, 1);
        QCOMPARE(recibidos().size(), 1);

        // On R: no notices any more (FELIPE gets none), the reset up to R.
        cliente(8, u"FELIPE"_s, 4, {u"felipe@correo.mx"_s});
        r = avisos.RevisaReinicio(momento(3, 12, 8));
        QVERIFY(avisos.mCorreos.empty());
        QVERIFY(recibidos().isEmpty());
        QVERIFY(r.reinicioIntentado);
        QVERIFY2(r.reinicio.ok, qPrintable(r.reinicio.error));
        QCOMPARE(r.reinicio.clientes, 8);
        QCOMPARE(valor(u"SELECT LIST(CLIENTE_ID || ':' || VALOR_PUNTOS || ':' || PARTIDA) "
                       "FROM (SELECT * FROM LAR_PUNTOS WHERE FOLIO = 'R00000007' AND "
                       "FECHA = '2027-03-10' ORDER BY PARTIDA)"_s),
                 u"1:50:1,2:30:2,3:0:3,4:-5:4,5:10:5,6:0:6,7:3:7,8:4:8"_s);
        QCOMPARE(LeeRegistro(s, u"Folio Puntos"_s), u"R00000008"_s);
        QCOMPARE(lartest::saldo(m_db, 6), 8);
        QCOMPARE(lartest::saldo(m_db, 1), 0);

        // Done means never again (the reset's marks are checked in tst_points_reinicio).
        r = avisos.RevisaReinicio(momento(3, 20, 8));
        QVERIFY(!r.reinicioIntentado);
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_PUNTOS WHERE TIPO_DOCTO = 'S'"_s), u"8"_s);
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
        programa(s, u"01/06/2027"_s, u"0"_s);
        GuardaRegistro(s, u"Folio Puntos"_s, u"T1"_s);
        AvisosReinicio avisos(s);
        AvisosReinicio::Revision r = avisos.RevisaReinicio(momento(5, 31, 23));
        QVERIFY(!r.reinicioIntentado);
        QVERIFY(avisos.mCorreos.empty());

        ejecuta(u"CREATE EXCEPTION E_PRUEBA_AVISOS 'sin reinicio para EVA'"_s);
        ejecuta(u"CREATE TRIGGER TR_PRUEBA_AVISOS FOR LAR_REINICIO_PUNTOS BEFORE INSERT AS BEGIN "
                "IF ((SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS WHERE FECHA_PROGRAMADA = "
                "'2027-06-01') = 4) THEN EXCEPTION E_PRUEBA_AVISOS; END"_s);
        r = avisos.RevisaReinicio(momento(6, 1, 8));
        ejecuta(u"DROP TRIGGER TR_PRUEBA_AVISOS"_s);
        QVERIFY(r.reinicioIntentado);
        QVERIFY(!r.reinicio.ok);
        QVERIFY2(r.reinicio.error.startsWith(u"Error al inicializar puntos\n"_s)
                     && r.reinicio.error.contains(u"sin reinicio para EVA"_s),
                 qPrintable(r.reinicio.error));
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS WHERE "
                       "FECHA_PROGRAMADA = '2027-06-01'"_s),
                 u"0"_s);
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = 'T00000001'"_s), u"0"_s);
        QCOMPARE(LeeRegistro(s, u"Folio Puntos"_s), u"T1"_s);

        r = avisos.RevisaReinicio(momento(6, 2, 8));
        QVERIFY2(r.reinicio.ok, qPrintable(r.reinicio.error));
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = 'T00000001' "
                       "AND FECHA = '2027-06-01'"_s),
                 u"8"_s);
        QVERIFY(recibidos().isEmpty());
    }

    // Without any ledger row no mark is written, so every check moves the folio on.
    void libroVacioMueveElFolio()
    {
        lartest::OpcionesPrueba op;
        op.carpeta = u"vacio"_s;
        lartest::EntornoPrueba vacio(op);
        vacio.instalaExtension();
        Sesion s;
        vacio.conectaSesion(s);
        programa(s, u"01/02/2027"_s, u"3"_s);
        GuardaRegistro(s, u"Folio Puntos"_s, u"V5"_s);
        AvisosReinicio avisos(s);
        for (const QString &siguiente : {u"V00000006"_s, u"V00000007"_s}) {
            const AvisosReinicio::Revision r = avisos.RevisaReinicio(momento(2, 3, 8));
            QVERIFY(r.reinicioIntentado);
            QVERIFY2(r.reinicio.ok, qPrintable(r.reinicio.error));
            QCOMPARE(r.reinicio.clientes, 0);
            QCOMPARE(LeeRegistro(s, u"Folio Puntos"_s), siguiente);
        }
        // Switched off, or a date that can't be read: no reset.
        GuardaRegistro(s, u"Fecha establecida para el reinicio"_s, u"31/02/2027"_s);
        AvisosReinicio::Revision r = avisos.RevisaReinicio(momento(4, 3, 8));
        QVERIFY(!r.reinicioIntentado);
        QVERIFY(r.errorAvisos.contains(u"31/02/2027"_s));
        programa(s, u"01/03/2027"_s, u"3"_s);
        GuardaRegistro(s, u"Reiniciar Puntos Automaticamente"_s, u"N"_s);
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
        cliente(9, u"IVAN"_s, 12, {u"ivan@correo.mx"_s});
        TfMain m;
        m_env->conectaSesion(m.sesion());
        Sesion &s = m.sesion();
        cuenta(s, m_puerto);
        const QDate hoy = QDate::currentDate();
        programa(s, FechaReinicioTexto(hoy.addDays(2)), u"4"_s);
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
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_AVISO_REINICIO WHERE "
                       "FECHA_REINICIO = '%1'"_s.arg(hoy.addDays(2).toString(Qt::ISODate))),
                 QString::number(mails));
        QVERIFY2(progreso.contains(u"Enviando avisos de reinicio de puntos: %1 de %1"_s.arg(mails)),
                 qPrintable(progreso.join(u',')));
        QVERIFY(m.pbProgreso->isHidden());

        programa(s, FechaReinicioTexto(hoy), u"4"_s);
        RevisaReinicio(m);
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(guion.cajas()[0].texto, u"Se inicializaron los puntos."_s);
        QCOMPARE(guion.cajas()[0].titulo, u"Aviso del sistema"_s);
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS WHERE "
                       "FECHA_PROGRAMADA = CURRENT_DATE"_s),
                 u"9"_s);
    }
};

LAR_TEST_MAIN(TstAvisos)
#include "tst_points_avisos.moc"
