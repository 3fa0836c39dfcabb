// The export of a report grid to Excel, driven through the real save dialog; the
// files are read back by python3-xlrd and the shell's openings recorded.

#include "ayudareportes.h"
#include "reports/exportaexcel.h"
#include "support/guionmensajes.h"
#include "support/guionshell.h"
#include "support/lectorxls.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

using lartest::eligeEnDialogo;

class TestExportaExcel : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    lar::MemTable m_tabla;
    lar::MemGrid *m_grid = nullptr;

    QString ruta(const QString &nombre) const { return m_dir.filePath(nombre); }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        lar::FieldDef importe{u"Importe"_s, lar::FieldType::Currency, 2};
        importe.displayFormat = u"#,0.00;-#,0.00"_s;
        lar::FieldDef puntos{u"Puntos"_s, lar::FieldType::Integer};
        puntos.displayFormat = u",0;-,0"_s;
        m_tabla.addField(u"Nombre"_s, lar::FieldType::String, 50);
        m_tabla.addField(importe);
        m_tabla.addField(puntos);
        m_tabla.addField(u"Fecha"_s, lar::FieldType::Date);
        m_tabla.addField(u"Alta"_s, lar::FieldType::DateTime);
        m_tabla.addField(u"Activo"_s, lar::FieldType::Boolean);
        m_tabla.addField(u"Oculto"_s, lar::FieldType::String, 10);
        m_tabla.open();
        const QDateTime alta(QDate(2026, 3, 1), QTime(9, 30));
        m_tabla.appendRecord(
            {u"Zoila Pérez"_s, u"1234.5"_s, 1500, QDate(2026, 11, 23), alta, true, u"x"_s});
        m_tabla.appendRecord(
            {u"Ana “Anita” Ruiz €"_s, u"-20"_s, -3, QVariant(), QVariant(), false, u"y"_s});
        m_tabla.appendRecord({u"Beto Solís"_s,
                              u"0"_s,
                              0,
                              QDate(2025, 1, 2),
                              QDateTime(QDate(2025, 1, 2), QTime(0, 0)),
                              true,
                              u"z"_s});
        m_tabla.appendRecord(
            {u"Fuera del filtro"_s, u"1"_s, 1, QVariant(), QVariant(), false, u"w"_s});

        m_grid = new lar::MemGrid;
        lar::MemTableModel *m = m_grid->memModel();
        m->addColumn(u"Nombre"_s, u"Cliente"_s, 200);
        m->addColumn(u"Importe"_s, u"Importe"_s, 90);
        m->addColumn(u"Puntos"_s, u"Puntos"_s, 70);
        m->addColumn(u"Oculto"_s, u"Oculto"_s, 0);
        m->addColumn(u"Fecha"_s, u"Fecha"_s, 80);
        m->addColumn(u"Alta"_s, u"Alta"_s, 120);
        m->addColumn(u"Activo"_s, u"Activo"_s, 50);
        m_grid->setTable(&m_tabla);
        m_grid->resize(800, 300);
    }

    void cleanupTestCase() { delete m_grid; }

    // The user's view goes into the file: visible columns in their dragged order,
    // captions, the rows in sight in the order in force, typed cells with formats.
    void celdasComoLasVe()
    {
        m_tabla.setIndexFieldNames(u"Nombre"_s);
        m_tabla.setOnFilterRecord(
            [](lar::MemTable &t) { return t[u"Nombre"_s].asString() != u"Fuera del filtro"; });
        m_tabla.setFiltered(true);
        m_grid->horizontalHeader()->moveSection(2, 0); // Puntos dragged to the front

        const QString archivo = ruta(u"vista.xls"_s);
        QString error;
        QVERIFY2(lar::EscribeGridXls(*m_grid, archivo, &error), qPrintable(error));
        const QJsonObject r = lartest::LeeXlsConXlrd(archivo);
        if (r.contains(u"falta"_s))
            QSKIP(qPrintable(r.value(u"falta"_s).toString()));
        QVERIFY2(!r.contains(u"error"_s), qPrintable(r.value(u"error"_s).toString()));
        const QJsonArray hojas = r[u"hojas"_s].toArray();
        QCOMPARE(hojas.size(), 1);

        // Each row as "value|type|format" cells, empty cells as "".
        QList<QStringList> filas(4, QStringList(6));
        for (const QJsonValue &c : hojas[0][u"celdas"_s].toArray()) {
            const QJsonArray a = c.toArray();
            QVERIFY(a[0].toInt() < 4 && a[1].toInt() < 6);
            const QString valor
                = a[3].isString() ? a[3].toString() : QString::number(a[3].toDouble(), 'g', 12);
            filas[a[0].toInt()][a[1].toInt()]
                = u"%1|%2|%3"_s.arg(valor).arg(a[2].toInt()).arg(a[4].toString());
        }
        const QString t = u"|1|General"_s;
        QCOMPARE(filas[0],
                 (QStringList{u"Puntos"_s + t,
                              u"Cliente"_s + t,
                              u"Importe"_s + t,
                              u"Fecha"_s + t,
                              u"Alta"_s + t,
                              u"Activo"_s + t}));
        QCOMPARE(filas[1],
                 (QStringList{u"-3|2|#,##0;-#,##0"_s,
                              u"Ana “Anita” Ruiz €"_s + t,
                              u"-20|2|#,0.00;-#,0.00"_s,
                              QString(),
                              QString(),
                              u"No"_s + t}));
        QCOMPARE(filas[2],
                 (QStringList{u"0|2|#,##0;-#,##0"_s,
                              u"Beto Solís"_s + t,
                              u"0|2|#,0.00;-#,0.00"_s,
                              u"45659|3|dd/mm/yyyy"_s,
                              u"45659|3|dd/mm/yyyy"_s,
                              u"Sí"_s + t}));
        QCOMPARE(filas[3],
                 (QStringList{u"1500|2|#,##0;-#,##0"_s,
                              u"Zoila Pérez"_s + t,
                              u"1234.5|2|#,0.00;-#,0.00"_s,
                              u"46349|3|dd/mm/yyyy"_s,
                              u"46082.3958333|3|dd/mm/yyyy hh:mm:ss"_s,
                              u"Sí"_s + t}));

        m_grid->horizontalHeader()->moveSection(0, 2);
        m_tabla.setFiltered(false);
        m_tabla.setIndexFieldNames(QString());
    }

    // The names the save dialog hands over: ".xls" removed wherever it is and added
    // back for the file written; the chosen name opened, ".xls" added only if absent.
    void nombres_data()
    {
        QTest::addColumn<QString>("elegido");
        QTest::addColumn<QString>("escrito");
        QTest::addColumn<QString>("abierto");
        const QList<std::tuple<const char *, const char *, const char *>> casos
            = {{"ventas", "ventas.xls", "ventas.xls"}, // the dialog adds it
               {"ventas.xls", "ventas.xls", "ventas.xls"},
               {"ventas.xlsx", "ventasx.xls", "ventas.xlsx"}, // opens what wasn't written
               {"mar.xls.2026.txt", "mar.2026.txt.xls", "mar.xls.2026.txt"},
               {"ventas.txt", "ventas.txt.xls", "ventas.txt.xls"}};
        for (const auto &[elegido, escrito, abierto] : casos)
            QTest::newRow(elegido) << QString::fromUtf8(elegido) << QString::fromUtf8(escrito)
                                   << QString::fromUtf8(abierto);
    }

    void nombres()
    {
        QFETCH(QString, elegido);
        QFETCH(QString, escrito);
        QFETCH(QString, abierto);
        lartest::GuionShell shell;
        lartest::GuionMensajes mensajes;
        QStringList filtros;
        QString extension;
        eligeEnDialogo(ruta(elegido), &filtros, &extension);
        lar::ExportaExcel(*m_grid);
        QCOMPARE(filtros, QStringList{u"Archivos de excel (*.xls)"_s});
        QCOMPARE(extension, u"xls"_s);
        QVERIFY(mensajes.cajas().isEmpty());
        QVERIFY(QFileInfo(ruta(escrito)).isFile());
        QCOMPARE(shell.aperturas().size(), 1);
        const lar::AperturaShell &a = shell.aperturas().constFirst();
        QCOMPARE(a.archivo, ruta(abierto));
        QCOMPARE(a.verbo, u"open"_s);
        QVERIFY(a.parametros.isEmpty() && a.carpeta.isEmpty());
        QCOMPARE(a.mostrar, lar::sw::MinimizadaSinFoco);
        QFile::remove(ruta(escrito));
    }

    // Cancelling writes and opens nothing; a file that can't be written is told with
    // the reason, and neither opens nor changes the grid.
    void canceladoYFalla()
    {
        lartest::GuionShell shell;
        lartest::GuionMensajes mensajes;
        eligeEnDialogo(QString());
        lar::ExportaExcel(*m_grid);
        QVERIFY(shell.aperturas().isEmpty());
        QVERIFY(mensajes.cajas().isEmpty());

        QVERIFY(QDir(m_dir.path()).mkdir(u"ocupadox.xls"_s)); // a folder where the file goes
        m_tabla.setRecNo(2);
        eligeEnDialogo(ruta(u"ocupado.xlsx"_s));
        lar::ExportaExcel(*m_grid);
        QVERIFY(shell.aperturas().isEmpty());
        QCOMPARE(mensajes.cajas().size(), 1);
        const lar::CajaMensaje &c = mensajes.cajas().constFirst();
        const QString inicio = u"No fue posible crear el documento, verifique que no esté abierto "
                               u"y que tenga permisos de escritura\r\r"_s;
        QVERIFY2(c.texto.startsWith(inicio) && c.texto.size() > inicio.size(), qPrintable(c.texto));
        QCOMPARE(c.titulo, u"Aviso del sistema"_s);
        QCOMPARE(c.icono(), lar::mb::IconInformation);
        QCOMPARE(m_tabla.recNo(), 2);
        QCOMPARE(m_tabla.recordCount(), 4);
    }
};

LAR_TEST_MAIN(TestExportaExcel)
#include "tst_exportaexcel.moc"
