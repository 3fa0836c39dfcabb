// The points reset: one expiry row per customer with the balance of that moment,
// one folio for the run, the next folio written back, all customers or none.

#include "libro.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "points/reinicio.h"
#include "support/entornoprueba.h"
#include "support/testmain.h"

#include <QTest>

#include <memory>

using namespace lar;
using namespace Qt::StringLiterals;

class TstReinicio : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;
    fb::Database m_db;

    void ejecuta(const QString &sql) { lartest::ejecuta(m_db, sql); }
    // The rows of a query, joined by ';'.
    QString valor(const QString &sql) { return lartest::filas(m_db, sql).join(u';'); }
    int saldo(int cliente) { return lartest::saldo(m_db, cliente); }

    void movimiento(int cliente, const QString &tipo, int puntos, const QString &fecha = {})
    {
        lartest::asiento(m_db, cliente, tipo, puntos, fecha);
    }

    void folio(const QString &valor)
    {
        Sesion s;
        m_env->conectaSesion(s);
        GuardaRegistro(s, u"Folio Puntos"_s, valor);
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
            ejecuta(u"INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE) VALUES (%1, 'C%1')"_s.arg(c));
        movimiento(1, u"VE"_s, 50);
        movimiento(1, u"CS"_s, 20);
        movimiento(2, u"AE"_s, 10);
        movimiento(2, u"AS"_s, 10);
        movimiento(3, u"VS"_s, 15);
        movimiento(4, u"XS"_s, 7);
    }

    void aManoUnaFilaPorClienteConSuSaldo()
    {
        folio(u"A00000007"_s);
        Sesion s;
        m_env->conectaSesion(s);
        const ReinicioPuntos::Resultado r = ReinicioPuntos(s).ejecuta();
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(r.clientes, 4);
        QCOMPARE(r.folio, u"A00000007"_s);
        QCOMPARE(r.siguienteFolio, u"A8"_s);
        QCOMPARE(LeeRegistro(s, u"Folio Puntos"_s), u"A00000008"_s);

        // customer|type|value|units|system|docto|article|FECHA set|PARTIDA, the whole folio
        QCOMPARE(valor(u"SELECT CLIENTE_ID, TIPO_DOCTO || NATURALEZA, VALOR_PUNTOS, UNIDADES, "
                       "SISTEMA, DOCTO_ID, ARTICULO_ID, IIF(FECHA IS NULL, 0, 1), PARTIDA FROM "
                       "LAR_PUNTOS WHERE FOLIO = 'A00000007' ORDER BY CLIENTE_ID"_s),
                 u"1|SS|30|1|P|null|null|1|1;2|SS|0|1|P|null|null|1|2;"
                 "3|SS|-15|1|P|null|null|1|3;4|SS|0|1|P|null|null|1|4"_s);
        for (int c = 1; c <= 4; ++c)
            QCOMPARE(saldo(c), 0);
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_PUNTOS WHERE CLIENTE_ID = 5"_s), u"0"_s);
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_REINICIO_PUNTOS"_s), u"0"_s);

        // Again: every customer that ever had a row gets one more, of 0 now.
        const ReinicioPuntos::Resultado r2 = ReinicioPuntos(s).ejecuta();
        QVERIFY2(r2.ok, qPrintable(r2.error));
        QCOMPARE(r2.folio, u"A00000008"_s);
        QCOMPARE(valor(u"SELECT COUNT(*), SUM(ABS(VALOR_PUNTOS)) FROM LAR_PUNTOS "
                       "WHERE FOLIO = 'A00000008'"_s),
                 u"4|0"_s);
    }

    void unaFallaAMediasNoDejaNada()
    {
        folio(u"B41"_s);
        movimiento(3, u"AE"_s, 40);
        movimiento(4, u"AE"_s, 9);
        // The third customer's row fails inside the engine, after two were written.
        ejecuta(u"CREATE EXCEPTION E_PRUEBA_REINICIO 'sin reinicio para el 3'"_s);
        ejecuta(u"CREATE TRIGGER TR_PRUEBA_REINICIO FOR LAR_PUNTOS BEFORE INSERT AS "
                "BEGIN IF (NEW.TIPO_DOCTO = 'S' AND NEW.CLIENTE_ID = 3) THEN "
                "EXCEPTION E_PRUEBA_REINICIO; END"_s);
        Sesion s;
        m_env->conectaSesion(s);
        const ReinicioPuntos::Resultado r = ReinicioPuntos(s).ejecuta();
        ejecuta(u"DROP TRIGGER TR_PRUEBA_REINICIO"_s);
        QVERIFY(!r.ok);
        QVERIFY2(r.error.contains(u"sin reinicio para el 3"_s), qPrintable(r.error));
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = 'B00000041'"_s), u"0"_s);
        QCOMPARE(LeeRegistro(s, u"Folio Puntos"_s), u"B41"_s);
        QCOMPARE(saldo(3), 40);
        QCOMPARE(saldo(4), 9);

        // The session is usable afterwards, and the same run goes through.
        const ReinicioPuntos::Resultado r2 = ReinicioPuntos(s).ejecuta();
        QVERIFY2(r2.ok, qPrintable(r2.error));
        QCOMPARE(r2.folio, u"B00000041"_s);
        QCOMPARE(saldo(3), 0);
    }

    void programadoHastaLaFechaConMarcas()
    {
        folio(u"C1"_s);
        movimiento(1, u"AE"_s, 25, u"2026-01-31 18:00:00"_s);
        // Written on the day itself: after 00:00, it stays with the customer.
        movimiento(1, u"AE"_s, 6, u"2026-02-01 09:00:00"_s);
        movimiento(2, u"AE"_s, 4, u"2026-02-03 09:00:00"_s);
        Sesion s;
        m_env->conectaSesion(s);
        ReinicioPuntos::Opciones op;
        op.fechaProgramada = QDate(2026, 2, 1);
        const ReinicioPuntos::Resultado r = ReinicioPuntos(s).ejecuta(op);
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(valor(u"SELECT CLIENTE_ID, VALOR_PUNTOS, FECHA FROM LAR_PUNTOS "
                       "WHERE FOLIO = 'C00000001' ORDER BY CLIENTE_ID"_s),
                 u"1|25|2026-02-01T00:00:00.000;2|0|2026-02-01T00:00:00.000;"
                 "3|0|2026-02-01T00:00:00.000;4|0|2026-02-01T00:00:00.000"_s);
        QCOMPARE(saldo(1), 6);
        QCOMPARE(saldo(2), 4);
        QCOMPARE(valor(u"SELECT COUNT(*), MIN(FECHA_PROGRAMADA), "
                       "MAX(FECHA_REINICIO) - CURRENT_DATE FROM LAR_REINICIO_PUNTOS"_s),
                 u"4|2026-02-01|0"_s);
        QCOMPARE(FechaReinicioDeTexto(FechaReinicioTexto(QDate(2026, 2, 1))), QDate(2026, 2, 1));
        QCOMPARE(FechaReinicioTexto(QDate(2026, 2, 1)), u"01/02/2026"_s);
    }
};

LAR_TEST_GUILESS_MAIN(TstReinicio)
#include "tst_points_reinicio.moc"
