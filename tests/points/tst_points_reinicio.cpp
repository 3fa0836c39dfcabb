// The points reset: one expiry row per customer with the balance of that moment,
// one folio for the run, the next folio written back, all customers or none.

#include "core/registro.h"
#include "core/sesion.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "points/ledger.h"
#include "points/reinicio.h"
#include "support/entornoprueba.h"
#include "support/testmain.h"

#include <QTest>

#include <memory>

using namespace lar;

class TstReinicio : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;
    fb::Database m_db;

    void ejecuta(const QString &sql)
    {
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        q.setSql(sql);
        q.execute();
        tr.commit();
    }

    QStringList filas(const QString &sql)
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
        return out;
    }

    int saldo(int cliente)
    {
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        return SaldoCliente(cliente, q);
    }

    // A ledger row: customer, TIPO_DOCTO, NATURALEZA, points, FECHA.
    void movimiento(int cliente, char tipo, char nat, int puntos, const QString &fecha = {})
    {
        ejecuta(
            QStringLiteral("INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, "
                           "NATURALEZA, VALOR_PUNTOS, SISTEMA, FOLIO%5) VALUES "
                           "(GEN_ID(GEN_LAR_PUNTOS, 1), %1, '%2', '%3', %4, 'AP', 'Z00000001'%6)")
                .arg(cliente)
                .arg(QChar::fromLatin1(tipo))
                .arg(QChar::fromLatin1(nat))
                .arg(puntos)
                .arg(fecha.isEmpty() ? QString() : QStringLiteral(", FECHA"))
                .arg(fecha.isEmpty() ? QString() : QStringLiteral(", '") + fecha + u'\''));
    }

    void folio(const QString &valor)
    {
        Sesion s;
        m_env->conectaSesion(s);
        GuardaRegistro(s, QStringLiteral("Folio Puntos"), valor);
    }

private slots:
    void initTestCase()
    {
        m_env = std::make_unique<lartest::EntornoPrueba>();
        m_env->instalaExtension();
        m_env->conectaEmpresa(m_db);
        // 1 earns 50 and spends 20; 2 ends at 0; 3 is negative; 4 has only a
        // cancelled redemption (a NULL sum); 5 never had a row.
        for (int c = 1; c <= 5; ++c)
            ejecuta(QStringLiteral("INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE) VALUES (%1, 'C%1')")
                        .arg(c));
        movimiento(1, 'V', 'E', 50);
        movimiento(1, 'C', 'S', 20);
        movimiento(2, 'A', 'E', 10);
        movimiento(2, 'A', 'S', 10);
        movimiento(3, 'V', 'S', 15);
        movimiento(4, 'X', 'S', 7);
    }

    void aManoUnaFilaPorClienteConSuSaldo()
    {
        folio(QStringLiteral("A00000007"));
        Sesion s;
        m_env->conectaSesion(s);
        const ReinicioPuntos::Resultado r = ReinicioPuntos(s).ejecuta();
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(r.clientes, 4);
        QCOMPARE(r.folio, QStringLiteral("A00000007"));
        QCOMPARE(r.siguienteFolio, QStringLiteral("A8"));
        QCOMPARE(LeeRegistro(s, QStringLiteral("Folio Puntos")), QStringLiteral("A00000008"));

        // customer|value|units|system|docto|article|FECHA set by default
        const QStringList esperado{QStringLiteral("1|30|1|P|null|null|1"),
                                   QStringLiteral("2|0|1|P|null|null|1"),
                                   QStringLiteral("3|-15|1|P|null|null|1"),
                                   QStringLiteral("4|0|1|P|null|null|1")};
        QCOMPARE(filas(QStringLiteral(
                     "SELECT CLIENTE_ID, VALOR_PUNTOS, UNIDADES, SISTEMA, DOCTO_ID, ARTICULO_ID, "
                     "IIF(FECHA IS NULL, 0, 1) FROM LAR_PUNTOS WHERE TIPO_DOCTO = 'S' AND "
                     "NATURALEZA = 'S' AND FOLIO = 'A00000007' ORDER BY CLIENTE_ID")),
                 esperado);
        QCOMPARE(filas(QStringLiteral("SELECT LIST(PARTIDA) FROM (SELECT PARTIDA FROM LAR_PUNTOS "
                                      "WHERE FOLIO = 'A00000007' ORDER BY PARTIDA)")),
                 QStringList{QStringLiteral("1,2,3,4")});
        for (int c = 1; c <= 4; ++c)
            QCOMPARE(saldo(c), 0);
        QCOMPARE(filas(QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS WHERE CLIENTE_ID = 5")),
                 QStringList{QStringLiteral("0")});
        QCOMPARE(filas(QStringLiteral("SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS")),
                 QStringList{QStringLiteral("0")});

        // Again: every customer that ever had a row gets one more, of 0 now.
        const ReinicioPuntos::Resultado r2 = ReinicioPuntos(s).ejecuta();
        QVERIFY2(r2.ok, qPrintable(r2.error));
        QCOMPARE(r2.folio, QStringLiteral("A00000008"));
        QCOMPARE(filas(QStringLiteral("SELECT COUNT(*), SUM(ABS(VALOR_PUNTOS)) FROM LAR_PUNTOS "
                                      "WHERE FOLIO = 'A00000008'")),
                 QStringList{QStringLiteral("4|0")});
    }

    void unaFallaAMediasNoDejaNada()
    {
        folio(QStringLiteral("B41"));
        movimiento(3, 'A', 'E', 40);
        movimiento(4, 'A', 'E', 9);
        // The third customer's row fails inside the engine, after two were written.
        ejecuta(QStringLiteral("CREATE EXCEPTION E_PRUEBA_REINICIO 'sin reinicio para el 3'"));
        ejecuta(QStringLiteral("CREATE TRIGGER TR_PRUEBA_REINICIO FOR LAR_PUNTOS BEFORE INSERT AS "
                               "BEGIN IF (NEW.TIPO_DOCTO = 'S' AND NEW.CLIENTE_ID = 3) THEN "
                               "EXCEPTION E_PRUEBA_REINICIO; END"));
        Sesion s;
        m_env->conectaSesion(s);
        const ReinicioPuntos::Resultado r = ReinicioPuntos(s).ejecuta();
        ejecuta(QStringLiteral("DROP TRIGGER TR_PRUEBA_REINICIO"));
        QVERIFY(!r.ok);
        QVERIFY2(r.error.contains(QStringLiteral("sin reinicio para el 3")), qPrintable(r.error));
        QCOMPARE(filas(QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = 'B00000041'")),
                 QStringList{QStringLiteral("0")});
        QCOMPARE(LeeRegistro(s, QStringLiteral("Folio Puntos")), QStringLiteral("B41"));
        QCOMPARE(saldo(3), 40);
        QCOMPARE(saldo(4), 9);

        // The session is usable afterwards, and the same run goes through.
        const ReinicioPuntos::Resultado r2 = ReinicioPuntos(s).ejecuta();
        QVERIFY2(r2.ok, qPrintable(r2.error));
        QCOMPARE(r2.folio, QStringLiteral("B00000041"));
        QCOMPARE(saldo(3), 0);
    }

    void programadoHastaLaFechaConMarcas()
    {
        folio(QStringLiteral("C1"));
        movimiento(1, 'A', 'E', 25, QStringLiteral("2026-01-31 18:00:00"));
        // Written on the day itself: after 00:00, it stays with the customer.
        movimiento(1, 'A', 'E', 6, QStringLiteral("2026-02-01 09:00:00"));
        movimiento(2, 'A', 'E', 4, QStringLiteral("2026-02-03 09:00:00"));
        Sesion s;
        m_env->conectaSesion(s);
        ReinicioPuntos::Opciones op;
        op.fechaProgramada = QDate(2026, 2, 1);
        const ReinicioPuntos::Resultado r = ReinicioPuntos(s).ejecuta(op);
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(filas(QStringLiteral("SELECT CLIENTE_ID, VALOR_PUNTOS, FECHA FROM LAR_PUNTOS "
                                      "WHERE FOLIO = 'C00000001' ORDER BY CLIENTE_ID")),
                 (QStringList{QStringLiteral("1|25|2026-02-01T00:00:00.000"),
                              QStringLiteral("2|0|2026-02-01T00:00:00.000"),
                              QStringLiteral("3|0|2026-02-01T00:00:00.000"),
                              QStringLiteral("4|0|2026-02-01T00:00:00.000")}));
        QCOMPARE(saldo(1), 6);
        QCOMPARE(saldo(2), 4);
        QCOMPARE(
            filas(QStringLiteral("SELECT COUNT(*), MIN(FECHA_PROGRAMADA), "
                                 "MAX(FECHA_REINICIO) - CURRENT_DATE FROM LAR_REINICIO_PUNTOS")),
            QStringList{QStringLiteral("4|2026-02-01|0")});
        QCOMPARE(FechaReinicioDeTexto(FechaReinicioTexto(QDate(2026, 2, 1))), QDate(2026, 2, 1));
        QCOMPARE(FechaReinicioTexto(QDate(2026, 2, 1)), QStringLiteral("01/02/2026"));
    }
};

LAR_TEST_GUILESS_MAIN(TstReinicio)
#include "tst_points_reinicio.moc"
