// The start of a session through a Firebird server, with the sales event listener
// registered, and sales events posted from another station: the main window keeps
// answering and receives each one.

#include "ayudagui.h"
#include "fb/database.h"
#include "fb/events.h"
#include "fb/transaction.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"

#include <QThread>

#include <atomic>

using namespace Qt::StringLiterals;
using namespace lar;

namespace {

// Ends the process with a message when the main thread stops turning its loop for
// 20 s, so a freeze fails the suite instead of hanging it.
class Vigia : public QThread
{
public:
    std::atomic<qint64> ultimoLatido{0};
    std::atomic<bool> fin{false};

    void run() override
    {
        QElapsedTimer reloj;
        reloj.start();
        qint64 visto = ultimoLatido;
        qint64 desde = reloj.elapsed();
        while (!fin) {
            QThread::msleep(100);
            if (ultimoLatido != visto) {
                visto = ultimoLatido;
                desde = reloj.elapsed();
            } else if (reloj.elapsed() - desde > 20000) {
                qFatal("El hilo principal dejó de responder");
            }
        }
    }
};

} // namespace

class TstEventos : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;

private slots:
    void initTestCase()
    {
        m_env = lartest::entornoServidor({}, {});
        if (!m_env)
            QSKIP("The local Firebird server isn't running (scripts/fbserver)");
    }

    void ventasDeOtraEstacion()
    {
        lartest::GuionMensajes guion;
        Vigia vigia;
        QTimer latido;
        connect(&latido, &QTimer::timeout, this, [&] { ++vigia.ultimoLatido; });
        latido.start(20);
        vigia.start();

        lartest::Arranque a;
        TfMain &m = a.m;
        TfMain::RutinaReinicio() = {};
        QVERIFY(lartest::entraAlMain(m, u"SYSDBA"_s, lartest::serverPassword()));
        QVERIFY(m.sesion().fbDatabase().databaseName().startsWith(lartest::serverPrefix()));
        auto *eventos = m.findChild<fb::EventListener *>(u"SIBfibEvent"_s);
        QVERIFY(eventos && eventos->isRegistered());
        QTRY_VERIFY_WITH_TIMEOUT(eventos->isListening(), 10000);
        int recibidos = 0;
        connect(eventos,
                &fb::EventListener::eventReceived,
                this,
                [&](const QString &nombre, int veces) {
                    if (nombre == u"VentaLAR")
                        recibidos += veces;
                });

        fb::Database otra;
        m_env->conectaEmpresa(otra);
        fb::Transaction tr(&otra);
        fb::Query q(&otra, &tr);
        q.setParamCheck(false);
        q.setSql(u"execute block as begin post_event 'VentaLAR'; end"_s);
        for (int i = 1; i <= 5; ++i) {
            {
                fb::TransactionGuard g(tr);
                q.execute();
                g.commit();
            }
            QTRY_COMPARE_WITH_TIMEOUT(recibidos, i, 10000);
            // The window still paints and handles input between deliveries.
            m.repaint();
            QTest::qWait(50);
        }
        QVERIFY(guion.cajas().isEmpty());
        vigia.fin = true;
        vigia.wait();
    }
};

LAR_TEST_MAIN(TstEventos)
#include "tst_core_eventos.moc"
