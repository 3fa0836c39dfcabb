// Points earned on Microsip's sale documents: the accrual triggers against the
// stand-in company, the documents played as Microsip plays them. Each area is a
// table of scripts in EmpresaPuntos::juega's language; a ledger row reads
// "article:TIPO_DOCTO+NATURALEZA:UNIDADES:VALOR_PUNTOS:PARTIDA". Error codes are the
// engine's: 335544321 arithmetic exception (a division by zero), 335544334
// conversion error, 335544652 multiple rows in singleton select.

#include "empresapuntos.h"

#include "support/testmain.h"

#include <QTest>

using lartest::EmpresaPuntos;

// One company per area; each case starts from the base settings of ajusta(). The
// areas give their cases in casos(). An exception (fb::Error) fails the function it
// escapes, as in every suite (support/testmain.h).
class Escenarios : public QObject
{
    Q_OBJECT

public:
    explicit Escenarios(bool larSync = false, bool lineaDeOrdenes = false)
        : m_larSync(larSync)
        , m_lineaDeOrdenes(lineaDeOrdenes)
    {}

protected:
    // The area's cases, each a row given by fila().
    virtual void casos() = 0;
    static void fila(const char *nombre, const char *guion)
    {
        QTest::newRow(nombre) << QString::fromUtf8(guion);
    }

private slots:
    void initTestCase() { e = std::make_unique<EmpresaPuntos>(m_larSync, m_lineaDeOrdenes); }
    void juega_data()
    {
        QTest::addColumn<QString>("guion");
        casos();
    }
    void juega()
    {
        QFETCH(QString, guion);
        e->ajusta();
        const auto [obtenido, esperado] = e->juega(guion);
        QCOMPARE(obtenido, esperado);
    }

private:
    std::unique_ptr<EmpresaPuntos> e;
    bool m_larSync, m_lineaDeOrdenes;
};

// By article, by amount and by line at the point of sale, and what opens the gate.
class TestGananciaPV : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
        // 101 has no points row and takes those of the line before; 102's NULL passes
        // on; 103 is a kit component (position 0). The sale is 1,250.80 with tax.
        fila("2.5 units of 3 points; 24 points on 1,250.80",
             "set art=S imp=S; sell a 100x2.5 101x1 102x4 101x2 103x1@0$300.80;"
             "=a 100:VE:3:8:1 101:VE:1:3:2 -:VE:0:24:3");
        fila("99.99 writes a row of 0", "set imp=S; sell a 104x1$99.99; =a -:VE:0:0:1");
        fila("the column rounds 4.5 to 5", "set imp=S fac=1.5; sell a 104x3; =a -:VE:0:5:1");
        fila("factor missing is 0, NULL skips the row",
             "set imp=S -fac; sell a 104x5; =a -:VE:0:0:1; set fac=NULL; sell b 104x5; =b");
        // Line 10: 208.80 with tax (180.00 without) earns 4; line 20: 40 at position 0
        // and 30 earn 1.
        fila("by line, with tax, every position",
             "set lin=S; sell a 100x2$104.40 103x1@0$40 102x1$30; =a -:LE:0:4:1 -:LE:0:1:2;"
             "sell b 103x1$49.99; =b");
        fila("amount and line together",
             "set imp=S lin=S fac=1; sell a 100x2$104.40; =a -:VE:0:2:1 -:LE:0:4:2");
        fila("only the apply earns",
             "set art=S imp=S lin=S; create a 100x1$116; =a; apply a;"
             "=a 100:VE:1:3:1 -:VE:0:2:2 -:LE:0:2:3; sql UPDATE DOCTOS_PV SET HORA = '12:00'"
             " WHERE DOCTO_PV_ID = {a}; =a 100:VE:1:3:1 -:VE:0:2:2 -:LE:0:2:3");
        fila("inserted applied, global invoice, switched off",
             "set art=S imp=S; create a applied 100x1; sql UPDATE DOCTOS_PV SET APLICADO = 'S'"
             " WHERE DOCTO_PV_ID = {a}; =a; sell b tF 100x1; =b; set gen=N; sell c 100x1; =c");
        // Stored in the order 2, 1: the article without points row takes those of the
        // line before it by position.
        fila("lines stored out of position order",
             "set art=S; sell a 101x2@2 100x1@1; =a 100:VE:1:3:1 101:VE:2:6:2;"
             "sell b ve 101x2@2 100x1@1; =b 100:FE:1:3:1 101:FE:2:6:2");
        // Name, table, event (1 before insert, 3 before update, 5 before delete), position,
        // active.
        fila("a company without the replication queue",
             "=[SELECT LIST(T, ' ') FROM (SELECT TRIM(RDB$TRIGGER_NAME) || ':' ||"
             " TRIM(RDB$RELATION_NAME) || ':' || RDB$TRIGGER_TYPE || ':' || RDB$TRIGGER_SEQUENCE"
             " || ':' || COALESCE(RDB$TRIGGER_INACTIVE, 0) T FROM RDB$TRIGGERS WHERE"
             " RDB$TRIGGER_NAME CONTAINING 'PUNTOS_' ORDER BY 1)]"
             " TR_LAR_PUNTOS_DOCTOS_PV_BU:DOCTOS_PV:3:46:0 TR_LAR_PUNTOS_DOCTOS_VE:DOCTOS_VE:3:0:0"
             " TR_LAR_PUNTOS_MOD:DOCTOS_PV:5:0:0");
    }
};

// "No. de vtas": sales with points a day, per customer and cashier.
class TestTopePV : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
        fila("per customer, cashier and day; a row of 0 counts",
             "set art=S imp=S fac=1 cap=2; sell a 104x1$99.99; sell b 100x1$200;"
             "sell c 100x1$200; sell d k8 100x1$200; sell e d1 100x1$200; =a -:VE:0:0:1;"
             "=b 100:VE:1:3:1 -:VE:0:2:2; =c; =d 100:VE:1:3:1 -:VE:0:2:2;"
             "=e 100:VE:1:3:1 -:VE:0:2:2");
        // A sale that earned finds its own rows; one that never did, or a return, stops
        // at its first article with points; a cancelled sale keeps its place.
        fila("cancellations and returns with the day full",
             "set art=S imp=S fac=1 cap=2; sell a d5 104x1; sell b d5 100x1$200;"
             "sell c d5 100x1$200; cancel b; cancel c;"
             "=b 100:VE:1:3:1 -:VE:0:2:2 100:VS:1:3:1 -:VS:0:2:2; =c; sell f d5 100x1$200;"
             "=f; return r f; =r; sell g d5 104x1$200; return s g; =s -:DS:0:2:1");
        fila("the cap counts each customer apart at one cashier",
             "set imp=S fac=1 cap=1; sell a c11 d30 104x1$200; sell b c12 d30 104x1$200;"
             "sell c c11 d30 104x1$200; =a -:VE:0:2:1; =b -:VE:0:2:1; =c");
        // With no customer, or no cashier, the count's equality never holds: no cap.
        fila("no customer or no cashier: under no cap",
             "set imp=S fac=1 cap=1; create a d31 104x1$200; create b d31 104x1$200;"
             "sql UPDATE DOCTOS_PV SET CLIENTE_ID = NULL WHERE DOCTO_PV_ID IN ({a}, {b});"
             "apply a; apply b; =a -:VE:0:2:1; =b -:VE:0:2:1;"
             "create c c16 d32 104x1$200; create e c16 d32 104x1$200;"
             "sql UPDATE DOCTOS_PV SET CAJERO_ID = NULL WHERE DOCTO_PV_ID IN ({c}, {e});"
             "apply c; apply e; =c -:VE:0:2:1; =e -:VE:0:2:1");
    }
};

// Cancellation at the point of sale: reversals with the settings and the customer
// of that moment, and again on every further update.
class TestCancelacionPV : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
        fila("settings of the moment; the difference stays",
             "set art=S imp=S; sell a c11 100x2$625.40; set fac=3; cancel a;"
             "=a 100:VE:2:6:1 -:VE:0:24:2 100:VS:2:6:1 -:VS:0:36:2; =saldo11 -12");
        fila("each update rewrites by amount, adds by line again",
             "set imp=S; sell a c12 104x1; cancel a; sql UPDATE DOCTOS_PV SET HORA = '18:00'"
             " WHERE DOCTO_PV_ID = {a}; =a -:VE:0:2:1 -:VS:0:2:1; set imp=N lin=S;"
             "sell b c12 101x2$104.40; set lin=N; cancel b; sql UPDATE DOCTOS_PV SET"
             " HORA = '18:00' WHERE DOCTO_PV_ID = {b}; =b -:LE:0:4:1 -:LS:0:4:1 -:LS:0:4:1;"
             "=saldo12 -4");
        fila("amount and line: one kind only",
             "set imp=S lin=S fac=1; sell a 101x2$104.40; cancel a;"
             "=a -:VE:0:2:1 -:LE:0:4:2 (-:VS:0:2:1|-:LS:0:4:1)");
        fila("black-listed or without card by then: kept",
             "set art=S imp=S; sell a c13 100x1; sell b c14 100x1; sql INSERT INTO"
             " LIBRES_CLIENTES (CLIENTE_ID, ACTIVO_PUNTOS) VALUES (13, 'N'); cancel a; set tar=S;"
             "cancel b; =a 100:VE:1:3:1 -:VE:0:2:2; =b 100:VE:1:3:1 -:VE:0:2:2");
        fila("articles off by then; a sale that never earned takes away",
             "set art=S imp=S; sell a 100x1; set art=N; cancel a;"
             "=a 100:VE:1:3:1 -:VE:0:2:2 -:VS:0:2:1; set imp=N; sell b 100x1; set art=S;"
             "cancel b; =b 100:VS:1:3:1");
        fila("unapplied", "set art=S; create a 100x1; cancel a; =a");
    }
};

// Returns at the point of sale and their cancellation; unapply, reapply, delete.
class TestDevolucionPV : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
        // Cancelled with points off, its rows go by folio and type, a sales return's too.
        fila("a return of its own, cancelled",
             "set art=S imp=S lin=S; sell a c15 100x3$116; return r a 100x1;"
             "=a 100:VE:3:9:1 -:VE:0:6:2 -:LE:0:6:3; =r 100:DS:1:3:1 -:DS:0:2:2 -:DS:0:2:3;"
             "=[SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = '{r:folio}'] 3; =saldo15 14;"
             "sql INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, TIPO_DOCTO, FOLIO, SISTEMA) VALUES"
             " (GEN_ID(GEN_LAR_PUNTOS, 1), 'D', '{r:folio}', 'VE'); set gen=N; cancel-return r;"
             "=[SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = '{r:folio}'] 0; =saldo15 21");
        fila("black-listed customer's return", "set art=S; sell a c3 100x1; return r a; =r");
        // The earlier rows go before the black list is looked at.
        fila("reapply",
             "set art=S imp=S lin=S; sell a 100x3$116; unapply a;"
             "=a 100:VE:3:9:1 -:VE:0:6:2 -:LE:0:6:3; reapply a 100x4$116;"
             "=a -:LE:0:6:3 100:VE:4:12:1 -:VE:0:8:2 -:LE:0:8:3; unapply a; sql UPDATE"
             " LIBRES_CLIENTES SET ACTIVO_PUNTOS = 'N' WHERE CLIENTE_ID = 1; reapply a; sql"
             " UPDATE LIBRES_CLIENTES SET ACTIVO_PUNTOS = 'S' WHERE CLIENTE_ID = 1;"
             "=a -:LE:0:6:3 -:LE:0:8:3");
        fila("origin other than PV; delete by id",
             "set imp=S; create a 104x1; sql UPDATE DOCTOS_PV SET SISTEMA_ORIGEN = 'VE' WHERE"
             " DOCTO_PV_ID = {a}; apply a; unapply a; reapply a; =a -:VE:0:2:1 -:VE:0:2:1;"
             "sell b 104x1; sql INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, DOCTO_ID, TIPO_DOCTO,"
             " SISTEMA) VALUES (GEN_ID(GEN_LAR_PUNTOS, 1), {a}, 'C', 'IN'); set gen=N; delete a;"
             "=a; =b -:VE:0:2:1");
    }
};

// Black list, points card, and settings that must fail Microsip's update and leave
// nothing of it.
class TestReglasCliente : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
        fila("black list: only 'N'",
             "set imp=S; sell a c1 104x1; sell b c2 104x1; sell c c4 104x1; sell d c3 104x1;"
             "=a -:VE:0:2:1; =b -:VE:0:2:1; =c -:VE:0:2:1; =d");
        fila("points card",
             "set imp=S tar=S; sell a c1 104x1; sell b c2 104x1; =a -:VE:0:2:1; =b;"
             "create c c5 104x1; !335544652 apply c; =c");
        fila("two roles 'Clave Puntos'",
             "set imp=S tar=S; sql INSERT INTO ROLES_CLAVES_CLIENTES"
             " (ROL_CLAVE_CLI_ID, NOMBRE) VALUES (950, 'Clave Puntos'); create a 104x1;"
             "!335544652 apply a; sql DELETE FROM ROLES_CLAVES_CLIENTES WHERE ROL_CLAVE_CLI_ID ="
             " 950; =a");
        fila("settings that fail the sale",
             "set imp=S fac=1,000; create a 104x1; !335544334 apply a; set fac=2 -pes;"
             "!335544321 apply a; set pes=100 cap=; !335544334 apply a; set cap=0 lin=S;"
             "sql INSERT INTO LAR_PUNTOSLINEAS (LINEA_ID, PUNTOS, IMPORTE) VALUES (30, 5, 0);"
             "!335544321 apply a; sql DELETE FROM LAR_PUNTOSLINEAS WHERE LINEA_ID = 30; =a;"
             "=[SELECT APLICADO FROM DOCTOS_PV WHERE DOCTO_PV_ID = {a}] N");
        fila("pesos 0 fails the cancellation",
             "set imp=S; sell a 104x1; set imp=N pes=0; !335544321 cancel a; =a -:VE:0:2:1;"
             "=[SELECT ESTATUS FROM DOCTOS_PV WHERE DOCTO_PV_ID = {a}] N");
    }
};

// The upgrade run again on a company in use, whether or not Microsip declares its
// catalogue names unique: one concept, one card role, one attribute per column, and
// the card rule still earns.
class TestActualizaRepetida : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
#define UNO_DE_CADA \
    "=[SELECT COUNT(*) FROM CONCEPTOS_IN WHERE NOMBRE = 'Salida por puntos'] 1;" \
    "=[SELECT COUNT(*) FROM ROLES_CLAVES_CLIENTES WHERE NOMBRE = 'Clave Puntos'] 1;" \
    "=[SELECT LIST(C) FROM (SELECT TRIM(CLAVE_OBJETO) || '.' || TRIM(NOMBRE_COLUMNA) C FROM" \
    " ATRIBUTOS ORDER BY 1)] ARTICULOS.PUNTOS,ARTICULOS.VALOR_PUNTOS," \
    "CLIENTES.ACTIVO_PUNTOS,CLIENTES.EMPLEADO_PUNTOS;" \
    "set imp=S tar=S; sell a c1 104x1; sell b c2 104x1; =a -:VE:0:2:1; =b"
        fila("twice", "upgrade;" UNO_DE_CADA);
        fila("three times", "upgrade;" UNO_DE_CADA);
        fila("names declared unique",
             "sql ALTER TABLE CONCEPTOS_IN ADD CONSTRAINT UK_CI UNIQUE (NOMBRE);"
             "sql ALTER TABLE ROLES_CLAVES_CLIENTES ADD CONSTRAINT UK_RCC UNIQUE (NOMBRE);"
             "sql ALTER TABLE ATRIBUTOS ADD CONSTRAINT UK_AT UNIQUE (CLAVE_OBJETO,"
             " NOMBRE_COLUMNA); upgrade;" UNO_DE_CADA);
#undef UNO_DE_CADA
    }
};

// The sales module: where its trigger differs from the point of sale's.
class TestVentas : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
        // 2.5 x 100 without tax, 290.00 with it.
        fila("own switch; empty cap; a cancelled invoice keeps its amount",
             "set gen=N art=S imp=S cap=; sell a ve c16 100x2.5; =a 100:FE:3:8:1 -:FE:0:4:2;"
             "cancel a; =a 100:FE:3:8:1 -:FE:0:4:2 100:FS:3:8:1; =saldo16 4;"
             "sell r ve tR 100x1; =r; set ven=N gen=S; sell b ve 100x1; =b");
        fila("cap per customer across sellers, apart from the point of sale",
             "set imp=S cap=1; sell a ve c2 d20 104x1; sell b ve c2 k2 d20 104x1;"
             "sell c c2 d20 104x1$116; =a -:FE:0:2:1; =b; =c -:VE:0:2:1");
        fila("by line without tax; cancelled by its one line row",
             "set lin=S; sell a ve 101x2$90; sell b ve 101x1$90; sell c 101x1$104.40;"
             "=a -:LE:0:2:1; =b; =c -:LE:0:2:1; cancel a; =a -:LE:0:2:1 -:LS:0:2:1;"
             "!335544652 sql UPDATE DOCTOS_VE SET TIPO_CAMBIO = 1 WHERE DOCTO_VE_ID = {a}");
        fila("earned by two lines: can't be cancelled",
             "set lin=S; sell a ve 100x2 103x1$80; !335544652 cancel a;"
             "=a -:LE:0:4:1 -:LE:0:1:2; =[SELECT ESTATUS FROM DOCTOS_VE WHERE DOCTO_VE_ID ="
             " {a}] N");
        fila("return, cancelled; a deleted invoice keeps its rows",
             "set lin=S; sell a ve c4 100x2; return r a; =r -:DS:0:4:1; sql INSERT INTO"
             " LAR_PUNTOS (LAR_PUNTOS_ID, TIPO_DOCTO, FOLIO, SISTEMA) VALUES"
             " (GEN_ID(GEN_LAR_PUNTOS, 1), 'D', '{r:folio}', 'PV'); cancel-return r;"
             "=[SELECT COUNT(*) FROM LAR_PUNTOS WHERE FOLIO = '{r:folio}'] 0; delete a;"
             "=a -:LE:0:4:1");
    }
};

// The same documents played through microsip-sim's command line.
class TestLineaDeOrdenes : public Escenarios
{
    Q_OBJECT

public:
    TestLineaDeOrdenes()
        : Escenarios(false, true)
    {}

protected:
    void casos() override
    {
        fila("point of sale",
             "set art=S imp=S; sell a 100x2.5$116; cancel a;"
             "=a 100:VE:3:8:1 -:VE:0:4:2 100:VS:3:8:1 -:VS:0:4:2; sell b 100x2$116;"
             "return r b 100x1; =r 100:DS:1:3:1 -:DS:0:2:2; cancel-return r; =r; unapply b;"
             "reapply b; =b 100:VE:2:6:1 -:VE:0:4:2; delete b; =b");
        fila("sales module",
             "set art=S imp=S; sell a ve 100x2; cancel a; =a 100:FE:2:6:1 -:FE:0:4:2 100:FS:2:6:1;"
             "sell b ve 100x2; return r b; =r 100:DS:2:6:1 -:DS:0:4:2; cancel-return r; =r;"
             "unapply b; reapply b; delete b; =b 100:FE:2:6:1 -:FE:0:4:2");
    }
};

// The outside replication queue, fed when the company has one. The companies of
// the other areas have none, and one case there checks that the upgrade installed
// all the rest.
class TestColaReplica : public Escenarios
{
    Q_OBJECT

public:
    TestColaReplica()
        : Escenarios(true)
    {}

protected:
    void casos() override
    {
        // The first check of lar_origen sets it for the session (0: it wasn't set). A
        // deletion isn't reported; a queue that refuses its line loses it, and only it.
        fila("queue lines",
             "set art=S imp=S; =[SELECT RDB$TRIGGER_SEQUENCE || ' ' || RDB$TRIGGER_TYPE FROM"
             " RDB$TRIGGERS WHERE RDB$TRIGGER_NAME = 'TR_SYNC_LAR_PUNTOS_INS'] 445 17;"
             "sell a 100x1; =[SELECT LIST(Q.TABLA_ID || Q.D_NOMBRE1 || Q.D_TIPO ||"
             " COALESCE(Q.LAR_ORIGEN, '-'), ' ') FROM LAR_SYNC_ID Q JOIN LAR_PUNTOS P ON"
             " P.LAR_PUNTOS_ID = Q.ID WHERE P.DOCTO_ID = {a}] 1023{a:folio}U- 1023{a:folio}U-;"
             "=[SELECT RDB$SET_CONTEXT('USER_SESSION', 'lar_origen', 'SUC1') FROM RDB$DATABASE]"
             " 0; sql INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, DOCTO_ID, TIPO_DOCTO, FOLIO) VALUES"
             " (GEN_ID(GEN_LAR_PUNTOS, 1), 9100, 'C', 'SP0009100'); sql UPDATE lar_puntos SET"
             " tipo_docto = 'X' WHERE docto_id = 9100; =[SELECT LIST(D_TIPO || LAR_ORIGEN) FROM"
             " LAR_SYNC_ID WHERE D_NOMBRE1 = 'SP0009100'] USUC1,USUC1; delete a; sql ALTER TABLE"
             " LAR_SYNC_ID ADD CONSTRAINT T_NO CHECK (D_TIPO <> 'U'); sell b 100x1;"
             "=b 100:VE:1:3:1 -:VE:0:2:2; =[SELECT COUNT(*) FROM LAR_SYNC_ID] 4");
    }
};

// SaldoCliente: the signed sum of a customer's rows, cancelled redemptions left
// out. The rows pile up on customer 17 from one case to the next.
class TestSaldoCliente : public Escenarios
{
    Q_OBJECT

protected:
    void casos() override
    {
#define FILA \
    "sql INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, NATURALEZA," \
    " VALOR_PUNTOS) VALUES (GEN_ID(GEN_LAR_PUNTOS, 1), 17, "
        fila("no rows", "=saldo18 0");
        fila("only cancelled redemptions", FILA "'X', 'S', 7); =saldo17 0");
        fila("any other nature takes away",
             FILA "'V', 'E', 10);" FILA "'A', '?', 3);" FILA "'C', 'S', 9); =saldo17 -2");
        fila("a reset of a negative balance", FILA "'S', 'S', -2); =saldo17 0");
#undef FILA
    }
};

// The areas in their order, each in a company of its own.
template<class... Clases>
int ejecuta(int argc, char **argv)
{
    int fallas = 0;
    ((fallas += lartest::ejecuta<Clases>(argc, argv)), ...);
    return fallas;
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return ejecuta<TestGananciaPV,
                   TestTopePV,
                   TestCancelacionPV,
                   TestDevolucionPV,
                   TestReglasCliente,
                   TestActualizaRepetida,
                   TestVentas,
                   TestLineaDeOrdenes,
                   TestColaReplica,
                   TestSaldoCliente>(argc, argv);
}

#include "tst_points_acumulacion.moc"
