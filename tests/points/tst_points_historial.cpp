// The points history through the real form, over a ledger with every kind of row:
// sales played by the stand-in Microsip (by article, amount and line, invoices,
// cancellations, returns) and the program's rows (redemptions, a cancelled one,
// manual movements, a reset); then the workbook read back with openpyxl.

#include "empresapuntos.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "points/asignapuntos.h"
#include "points/historial.h"
#include "points/historial_forma.h"
#include "shared/flista.h"
#include "support/accesibilidad.h"
#include "support/guionmensajes.h"
#include "support/guionshell.h"
#include "support/hojasprueba.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

#include <QApplication>
#include <QCheckBox>
#include <QDateEdit>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <memory>

using namespace lar;
using namespace Qt::StringLiterals;
using lartest::GuionMensajes;
using lartest::GuionShell;

class TstHistorial : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EmpresaPuntos> m_e;
    Sesion m_s;
    QTemporaryDir m_dir;

    // A redemption as the capture writes it: the stock exit of 'Salida por puntos'
    // and one 'C' row per line.
    int canje(int cliente, const QString &folio, const QList<QPair<int, int>> &lineas)
    {
        const int docto = m_e->valor(u"SELECT GEN_ID(ID_DOCTOS, 1) FROM RDB$DATABASE"_s).toInt();
        m_e->ejecuta(u"INSERT INTO DOCTOS_IN (DOCTO_IN_ID, ALMACEN_ID, CONCEPTO_IN_ID, FOLIO, "
                     "NATURALEZA_CONCEPTO, APLICADO) SELECT %1, (SELECT MIN(ALMACEN_ID) FROM "
                     "ALMACENES), CONCEPTO_IN_ID, '%2', 'S', 'N' FROM CONCEPTOS_IN WHERE NOMBRE = "
                     "'Salida por puntos'"_s.arg(docto)
                         .arg(folio));
        int partida = 1;
        for (const auto &[articulo, puntos] : lineas)
            m_e->ejecuta(u"INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, DOCTO_ID, "
                         "ARTICULO_ID, TIPO_DOCTO, FOLIO, NATURALEZA, UNIDADES, VALOR_PUNTOS, "
                         "SISTEMA, PARTIDA) VALUES (GEN_ID(GEN_LAR_PUNTOS, 1), %1, %2, %3, 'C', "
                         "'%4', 'S', 1, %5, 'IN', %6)"_s.arg(cliente)
                             .arg(docto)
                             .arg(articulo)
                             .arg(folio)
                             .arg(puntos)
                             .arg(partida++));
        return docto;
    }

    // The rows of mKardex as Articulo|Documento|Puntos|Folio, sorted (rows written
    // in one transaction share their time).
    static QStringList renglones(MemTable &k)
    {
        QStringList out;
        for (k.first(); !k.eof(); k.next())
            out << u"%1|%2|%3|%4"_s.arg(k[u"Articulo"_s].asString(),
                                        k[u"Documento"_s].asString(),
                                        QString::number(k[u"Puntos"_s].asInteger()),
                                        k[u"Folio"_s].asString());
        out.sort();
        return out;
    }

    // Each cell of the workbook's first sheet that holds something, "B1=text", then
    // each data row (from row 4, with something in A to E) as "#B|C|D|E".
    QStringList celdas(const QString &archivo)
    {
        const QString salida = m_dir.filePath(u"celdas.txt"_s);
        const QString error = lartest::ejecutaPython(
            u"import sys, openpyxl\n"
            "ws = openpyxl.load_workbook(sys.argv[1]).worksheets[0]\n"
            "def texto(v):\n"
            "    return 'fecha' if hasattr(v, 'strftime') else '' if v is None else str(v)\n"
            "with open(sys.argv[2], 'w', encoding='utf-8') as f:\n"
            "    for fila in ws.iter_rows():\n"
            "        for c in fila:\n"
            "            if c.value is not None:\n"
            "                f.write('%s=%s\\n' % (c.coordinate, texto(c.value)))\n"
            "    for fila in ws.iter_rows(min_row=4, max_col=5):\n"
            "        if any(c.value is not None for c in fila):\n"
            "            f.write('#%s\\n' % '|'.join(texto(c.value) for c in fila[1:]))\n"_s,
            {archivo, salida});
        if (!error.isEmpty())
            return {error};
        QFile f(salida);
        if (!f.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(f.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

    // The data rows of the workbook, each "B|C|D|E".
    static QStringList filasHoja(const QStringList &celdas)
    {
        QStringList out;
        for (const QString &c : celdas)
            if (c.startsWith(u'#'))
                out << c.mid(1);
        return out;
    }

    // The data rows as renglones() gives them: Articulo|Documento|Puntos|Folio, sorted.
    static QStringList porRenglon(const QStringList &celdas)
    {
        QStringList out;
        for (const QString &f : filasHoja(celdas)) {
            const QStringList c = f.split(u'|');
            out << QStringList{c[0], c[3], c[1], c[2]}.join(u'|');
        }
        out.sort();
        return out;
    }

    // Runs the export of the form with Yes to its question; the workbook's cells.
    QStringList exporta(TfHistorialPuntos &f)
    {
        GuionMensajes guion;
        GuionShell shell;
        guion.responde({mb::IdYes});
        f.bExcel->click();
        if (guion.textos() != QStringList{u"¿Desea exportar el reporte?"_s})
            return guion.textos();
        if (shell.aperturas().size() != 1)
            return {u"no se abrió"_s};
        return celdas(shell.aperturas().at(0).archivo);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_e = std::make_unique<lartest::EmpresaPuntos>();
        m_e->ajusta();
        // Customer 1: a POS sale by article, amount and line; a cancelled sale; a
        // returned one; an invoice. Customer 2: one sale.
        const auto r = m_e->juega(
            u"set art=S imp=S lin=S fac=1; sell a 100x2$104.40;"
            "=a 100:VE:2:6:1 -:VE:0:2:2 -:LE:0:4:3; set lin=N; sell b 100x1$200; cancel b;"
            "sell c 105x2$200; return d c; sell f ve 100x1$200; sell g c2 105x1$100"_s);
        QCOMPARE(r.first, r.second);
        m_e->entorno().conectaSesion(m_s);
        m_e->ejecuta(u"INSERT INTO ALMACENES (ALMACEN_ID, NOMBRE) VALUES (19, 'General')"_s);

        // The program's own rows: two redemptions of customer 1, one cancelled, and
        // one of customer 2 whose article is gone; a manual movement in and out; a
        // reset row.
        canje(1, u"PP0000001"_s, {{102, 4}, {103, 5}});
        const int cancelado = canje(1, u"PP0000002"_s, {{104, 7}});
        m_e->ejecuta(
            u"UPDATE lar_puntos SET tipo_docto = 'X' WHERE docto_id = %1"_s.arg(cancelado));
        canje(2, u"PP0000003"_s, {{999, 2}});
        GuardaRegistro(m_s, u"Folio Puntos"_s, u"M00000001"_s);
        MovimientoPuntos mov(m_s);
        QVERIFY(mov.GuardaMovimiento(true, u"10"_s, mov.CargaSaldos({1})).ok);
        QVERIFY(mov.GuardaMovimiento(false, u"3"_s, mov.CargaSaldos({1})).ok);
        m_e->ejecuta(
            u"INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, NATURALEZA, "
            "UNIDADES, VALOR_PUNTOS, SISTEMA, FOLIO, PARTIDA) VALUES (GEN_ID(GEN_LAR_PUNTOS, "
            "1), 1, 'S', 'S', 1, 12, 'P', 'M00000003', 1)"_s);
        // Case 4 sums by moment: a document's rows (the sales' and the program's own)
        // written by separate statements may differ by milliseconds on a loaded
        // machine, so give each folio one.
        m_e->ejecuta(u"UPDATE LAR_PUNTOS p SET FECHA = (SELECT MIN(q.FECHA) FROM LAR_PUNTOS q "
                     "WHERE q.FOLIO = p.FOLIO)"_s);
        // A movement from long ago stays out of the period.
        m_e->ejecuta(u"INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, DOCTO_ID, ARTICULO_ID, "
                     "TIPO_DOCTO, NATURALEZA, VALOR_PUNTOS, SISTEMA, FOLIO, FECHA) VALUES "
                     "(GEN_ID(GEN_LAR_PUNTOS, 1), 1, 0, 0, 'A', 'E', 500, 'AP', 'M00000000', "
                     "DATEADD(-60 DAY TO CURRENT_TIMESTAMP))"_s);
        m_s.Permisos[TfHistorialPuntos::kTag] = 1 | 2;
        TfHistorialPuntos::CarpetaLibros() = m_dir.path();
    }

    // The customer by key: all its rows over the period as the CASE reads them, the
    // present balance, and the workbook with the customer and balance in row 2.
    void casoUnoMovimientosDelCliente()
    {
        TfHistorialPuntos f(m_s);
        f.Acceso = 3;
        f.show();
        LAR_VERIFICA_ACCESIBLE(&f);
        QCOMPARE(f.dtpFecIni->date(), QDate::currentDate().addDays(-30));
        QCOMPARE(f.dtpFecFin->date(), QDate::currentDate());
        {
            GuionMensajes guion;
            f.txtCliente->setText(u"NO-EXISTE"_s);
            QTest::keyClick(f.txtCliente, Qt::Key_Return);
            QCOMPARE(guion.textos(), QStringList{u"La clave no existe."_s});
            QCOMPARE(f.ClienteID, 0);
        }
        f.txtCliente->setText(u"T1"_s);
        QTest::keyClick(f.txtCliente, Qt::Key_Return);
        QCOMPARE(f.ClienteID, 1);
        QCOMPARE(f.lblNomCliente->text(), u"C1"_s);
        // 34 in the period, 500 before it, the cancelled redemption left out.
        QCOMPARE(f.lbPuntosDisponibles->text(), u"503"_s);
        f.chkAll->setChecked(true); // a customer outranks all customers
        f.bConsulta->click();
        QCOMPARE(f.cxGrid->model()->headerData(1, Qt::Horizontal).toString(), u"Artículo"_s);
        QCOMPARE(f.lbPuntosDisponibles->text(), u"503"_s);
        const QStringList esperado{
            u"A0|CANCELACIÓN DE VENTA|-3|A00000002"_s,
            u"A0|VENTA|3|A00000002"_s,
            u"A0|VENTA|3|F00000001"_s,
            u"A0|VENTA|6|A00000001"_s,
            u"A2|CANJE DE PUNTOS|-4|PP0000001"_s,
            u"A3|CANJE DE PUNTOS|-5|PP0000001"_s,
            // The cancelled redemption stays listed, as points gone.
            u"A4|PUNTOS VENCIDOS|-7|PP0000002"_s,
            u"A5|DEVOLUCION DE VENTA|-2|DV0000001"_s,
            u"A5|VENTA|2|A00000003"_s,
            u"ENTRADA|AJUSTE ENTRADA|10|M00000001"_s,
            u"PUNTOS TOTAL LINEA|VENTA|4|A00000001"_s,
            u"PUNTOS VENCIDOS|DEVOLUCION DE VENTA|-4|DV0000001"_s,
            u"PUNTOS VENCIDOS|PUNTOS VENCIDOS|-12|M00000003"_s,
            u"PUNTOS VENTA TOTAL|CANCELACIÓN DE VENTA|-2|A00000002"_s,
            u"PUNTOS VENTA TOTAL|VENTA|2|A00000001"_s,
            u"PUNTOS VENTA TOTAL|VENTA|2|A00000002"_s,
            u"PUNTOS VENTA TOTAL|VENTA|2|F00000001"_s,
            u"PUNTOS VENTA TOTAL|VENTA|4|A00000003"_s,
            u"SALIDA|AJUSTE SALIDA|-3|M00000002"_s,
        };
        QCOMPARE(renglones(f.kardex()), esperado);
        QDateTime antes;
        MemTable &k = f.kardex();
        for (k.first(); !k.eof(); k.next()) {
            QVERIFY(k[u"Fecha"_s].asDateTime() >= antes);
            antes = k[u"Fecha"_s].asDateTime();
        }

        const QStringList c = exporta(f);
        const QString periodo = QDate::currentDate().addDays(-30).toString(u"dd/MM/yyyy"_s)
                                + u" al "_s + QDate::currentDate().toString(u"dd/MM/yyyy"_s);
        QCOMPARE(c.mid(0, 11),
                 (QStringList{u"B1=Historial Puntos del: "_s + periodo,
                              u"A2=Cliente:"_s,
                              u"B2=C1"_s,
                              u"D2=Puntos:"_s,
                              u"E2=503"_s,
                              u"A3=Fecha"_s,
                              u"B3=Artículo"_s,
                              u"C3=Puntos"_s,
                              u"D3=Folio docto."_s,
                              u"E3=Documento"_s,
                              u"A4=fecha"_s}));
        QCOMPARE(porRenglon(c), esperado);
    }

    // Only the redemptions of the customer, whatever became of them, with positive
    // points; a customer chosen from the list.
    void casoDosCanjesDelCliente()
    {
        TfHistorialPuntos f(m_s);
        f.Acceso = 3;
        f.show();
        QTimer::singleShot(0, [] {
            auto *l = qobject_cast<TFLista *>(QApplication::activeModalWidget());
            if (!l)
                return;
            l->Busca->setText(u"C2"_s);
            l->Aceptar->click();
        });
        f.bClientes->click();
        QCOMPARE(f.ClienteID, 2);
        QCOMPARE(f.lblNomCliente->text(), u"C2"_s);
        f.bConsulta->click();
        // An article that is gone reads as points gone, even in a redemption.
        QCOMPARE(renglones(f.kardex()),
                 (QStringList{u"A5|VENTA|1|A00000004"_s,
                              u"PUNTOS VENCIDOS|CANJE DE PUNTOS|-2|PP0000003"_s,
                              u"PUNTOS VENTA TOTAL|VENTA|1|A00000004"_s}));

        TfHistorialPuntos g(m_s);
        g.Acceso = 3;
        g.show();
        g.txtCliente->setText(u"T1"_s);
        QTest::keyClick(g.txtCliente, Qt::Key_Return);
        g.JvCheckBox1->setChecked(true);
        g.bConsulta->click();
        const QStringList esperado{u"A2|CANJE DE PUNTOS|4|PP0000001"_s,
                                   u"A3|CANJE DE PUNTOS|5|PP0000001"_s,
                                   u"A4|CANJE DE PUNTOS|7|PP0000002"_s};
        QCOMPARE(renglones(g.kardex()), esperado);
        QCOMPARE(g.lbPuntosDisponibles->text(), u"503"_s);
        const QStringList c = exporta(g);
        QVERIFY2(c.value(0).startsWith(u"B1=Canjes de Puntos del: "_s), qPrintable(c.value(0)));
        QCOMPARE(c.mid(1, 4),
                 (QStringList{u"A2=Cliente:"_s, u"B2=C1"_s, u"D2=Puntos:"_s, u"E2=503"_s}));
        QCOMPARE(porRenglon(c), esperado);
    }

    // The redemptions of all customers, one row each summed, and in the workbook each
    // followed by its lines.
    void casoTresCanjesDeTodos()
    {
        TfHistorialPuntos f(m_s);
        f.Acceso = 3;
        f.show();
        f.JvCheckBox1->setChecked(true);
        f.chkAll->setChecked(true);
        f.bConsulta->click();
        QCOMPARE(f.cxGrid->model()->headerData(1, Qt::Horizontal).toString(), u"Cliente"_s);
        QVERIFY(f.lbPuntosDisponibles->text().isEmpty());
        QCOMPARE(renglones(f.kardex()),
                 (QStringList{u"C1|CANJE DE PUNTOS|7|PP0000002"_s,
                              u"C1|CANJE DE PUNTOS|9|PP0000001"_s,
                              u"C2|CANJE DE PUNTOS|2|PP0000003"_s}));
        QCOMPARE(f.kardex2().recordCount(), 4);

        const QStringList c = exporta(f);
        QVERIFY2(c.value(0).startsWith(u"B1=Historial de Canjes del: "_s), qPrintable(c.value(0)));
        QVERIFY(c.contains(u"B3=Cliente / Artículos"_s));
        QVERIFY(!c.contains(u"D2=Puntos:"_s));
        // Each redemption, then its lines (article in B, points in C).
        QStringList bloques;
        for (const QString &r : filasHoja(c))
            bloques << r;
        const int uno = int(bloques.indexOf(u"C1|9|PP0000001|CANJE DE PUNTOS"_s));
        QVERIFY(uno >= 0);
        QCOMPARE(bloques.mid(uno + 1, 2), (QStringList{u"A2|-4||"_s, u"A3|-5||"_s}));
        const int dos = int(bloques.indexOf(u"C1|7|PP0000002|CANJE DE PUNTOS"_s));
        QCOMPARE(bloques.value(dos + 1), u"A4|-7||"_s);
        const int tres = int(bloques.indexOf(u"C2|2|PP0000003|CANJE DE PUNTOS"_s));
        QCOMPARE(bloques.value(tres + 1), u"|-2||"_s);
        QCOMPARE(bloques.size(), 7);
    }

    // The document movements of all, summed by folio and kind, without sign; manual
    // movements and resets left out, a cancelled redemption without a text.
    void casoCuatroMovimientosDeTodos()
    {
        TfHistorialPuntos f(m_s);
        f.Acceso = 3;
        f.show();
        f.chkAll->setChecked(true);
        f.bConsulta->click();
        QCOMPARE(f.cxGrid->model()->headerData(1, Qt::Horizontal).toString(), u"Cliente"_s);
        const QStringList esperado{u"C1|CANCELACIÓN DE VENTA|5|A00000002"_s,
                                   u"C1|CANJE DE PUNTOS|9|PP0000001"_s,
                                   u"C1|DEVOLUCION DE VENTA|6|DV0000001"_s,
                                   u"C1|VENTA|4|A00000001"_s,
                                   u"C1|VENTA|5|A00000002"_s,
                                   u"C1|VENTA|5|F00000001"_s,
                                   u"C1|VENTA|6|A00000003"_s,
                                   u"C1|VENTA|8|A00000001"_s,
                                   u"C1||7|PP0000002"_s,
                                   u"C2|CANJE DE PUNTOS|2|PP0000003"_s,
                                   u"C2|VENTA|2|A00000004"_s};
        QCOMPARE(renglones(f.kardex()).join(u'\n'), esperado.join(u'\n'));
        const QStringList c = exporta(f);
        QVERIFY2(c.value(0).startsWith(u"B1=Historial de movimientos del: "_s),
                 qPrintable(c.value(0)));
        QVERIFY(c.contains(u"B3=Cliente"_s));
        QCOMPARE(porRenglon(c), esperado);

        // A period that holds nothing empties the grid.
        f.dtpFecIni->setDate(QDate::currentDate().addDays(-100));
        f.dtpFecFin->setDate(QDate::currentDate().addDays(-90));
        f.bConsulta->click();
        QCOMPARE(f.kardex().recordCount(), 0);
    }

    // Neither a customer nor all: the label is cleared and nothing else happens. The
    // rights bits, and a workbook that can't be written.
    void sinCasoDerechosYFallo()
    {
        TfHistorialPuntos f(m_s);
        f.Acceso = 1;
        f.show();
        QVERIFY(f.bConsulta->isEnabled());
        QVERIFY(!f.bExcel->isEnabled());
        f.lbPuntosDisponibles->setText(u"9"_s);
        f.bConsulta->click();
        QVERIFY(f.lbPuntosDisponibles->text().isEmpty());
        QCOMPARE(f.kardex().recordCount(), 0);

        TfHistorialPuntos g(m_s);
        g.Acceso = 2;
        g.show();
        QVERIFY(!g.bConsulta->isEnabled());
        QVERIFY(g.bExcel->isEnabled());
        TfHistorialPuntos::CarpetaLibros() = m_dir.filePath(u"no/existe"_s);
        GuionMensajes guion;
        GuionShell shell;
        guion.responde({mb::IdYes});
        g.bExcel->click();
        TfHistorialPuntos::CarpetaLibros() = m_dir.path();
        QCOMPARE(guion.textos(),
                 (QStringList{u"¿Desea exportar el reporte?"_s,
                              u"Por favor cierre todas las sesiones de Excel"_s}));
        QCOMPARE(guion.cajas().at(1).titulo, u"Aviso del sistema"_s);
        QVERIFY(shell.aperturas().isEmpty());

        // No to the question: nothing written, nothing opened.
        guion.limpia();
        guion.responde({mb::IdNo});
        g.bExcel->click();
        QCOMPARE(guion.textos().size(), 1);
        QVERIFY(shell.aperturas().isEmpty());
    }
};

LAR_TEST_MAIN(TstHistorial)
#include "tst_points_historial.moc"
