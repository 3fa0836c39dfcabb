// Generators, document ids, the activity log and the folio and text helpers.

#include "core/ids.h"
#include "core/sesion.h"
#include "db/actualizadb.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QDir>
#include <QFile>

#include <QRegularExpression>

using namespace Qt::StringLiterals;

class TestIds : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<lar::Sesion> m_s;

    QStringList generadores()
    {
        return lartest::filas(m_s->fbDatabase(),
                              u"select rdb$generator_name from rdb$generators"_s);
    }

private slots:
    void initTestCase()
    {
        m_e = std::make_unique<lartest::EntornoPrueba>();
        lar::ActualizaEmpresa(m_e->rutaEmpresa(), m_e->entorno().rutaConfig(), m_e->parametros());
        m_s = std::make_unique<lar::Sesion>();
        m_e->conectaSesion(*m_s);
    }

    void cleanupTestCase() { m_s.reset(); }

    void getNextID_data()
    {
        QTest::addColumn<QString>("nombre");
        QTest::addColumn<int>("incremento");
        QTest::addColumn<int>("primero");
        QTest::addColumn<int>("segundo");
        // A missing generator is created; a taking call leaves it at 1, a peek at 0.
        QTest::newRow("nuevo, toma") << "PRUEBA_UNO" << 1 << 1 << 2;
        QTest::newRow("nuevo, mira") << "PRUEBA_CERO" << 0 << 1 << 1;
        QTest::newRow("nuevo, de cinco") << "PRUEBA_CINCO" << 5 << 1 << 6;
    }

    void getNextID()
    {
        QFETCH(QString, nombre);
        QFETCH(int, incremento);
        QFETCH(int, primero);
        QFETCH(int, segundo);
        QVERIFY(!generadores().contains(u"GEN_LAR_"_s + nombre));
        QCOMPARE(lar::GetNextID(*m_s, nombre, incremento), primero);
        QVERIFY(generadores().contains(u"GEN_LAR_"_s + nombre));
        QCOMPARE(lar::GetNextID(*m_s, nombre, incremento), segundo);
    }

    // An existing generator: a peek spends nothing.
    void getNextIDExistente()
    {
        const int a = lar::GetNextID(*m_s, u"PUNTOS"_s, 1);
        QCOMPARE(lar::GetNextID(*m_s, u"PUNTOS"_s, 0), a + 1);
        QCOMPARE(lar::GetNextID(*m_s, u"PUNTOS"_s, 1), a + 1);
        const int d = lar::GetNextFolioDoc(*m_s, true);
        QCOMPARE(lar::GetNextFolioDoc(*m_s, false), d);
        QCOMPARE(lar::GetNextFolioDoc(*m_s, true), d + 1);
        m_s->UpdateCommit();
    }

    // Creating a generator commits fbUpdateTrans, and the caller's pending work with it.
    void getNextIDConfirmaLoPendiente()
    {
        m_s->TransInicia();
        fb::Query &q = m_s->qUpdate();
        q.setSql(u"insert into lar_puntoslineas (linea_id, puntos, importe) values (77, 1, 1)"_s);
        q.execute();
        QCOMPARE(lar::GetNextID(*m_s, u"PENDIENTE"_s, 1), 1);
        m_s->UpdateRollback();
        q.setSql(u"select count(*) from lar_puntoslineas where linea_id = 77"_s);
        q.open();
        QCOMPARE(q.field(0).toInt(), 1);
        q.close();
        m_s->UpdateCommit();
    }

    void guardaLog()
    {
        const QString datos = lartest::tempPath(u"bitacora"_s);
        QDir().mkpath(datos);
        qputenv("LARVENOS_DATOS", datos.toLocal8Bit());
        lar::GuardaLog(u"Aviso enviado a Ana Núñez"_s);
        lar::GuardaLog(u"segunda"_s);
        QFile f(datos + u"/logs/LarPuntos.txt"_s);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QStringList lineas = QString::fromUtf8(f.readAll()).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lineas.size(), 2);
        static const QRegularExpression forma(
            u"^\\d\\d/\\d\\d/\\d{4} (0[1-9]|1[0-2]):[0-5]\\d (AM|PM)  (.*)$"_s);
        QCOMPARE(forma.match(lineas[0]).captured(3), u"Aviso enviado a Ana Núñez"_s);
        QCOMPARE(forma.match(lineas[1]).captured(3), u"segunda"_s);

        // A folder that can't be made: the line is lost without a word.
        qputenv("LARVENOS_DATOS", QByteArray("/proc/no-existe"));
        lar::GuardaLog(u"perdida"_s);
        qunsetenv("LARVENOS_DATOS");
    }

    // The folio helpers, and the Excel column of a cell's letters.
    void folios_data()
    {
        QTest::addColumn<QString>("funcion");
        QTest::addColumn<QString>("folio");
        QTest::addColumn<int>("ancho");
        QTest::addColumn<QString>("esperado");
        const QList<std::tuple<const char *, const char *, int, const char *>> casos
            = {{"Siguiente", "A00099", 6, "A00100"},
               {"Siguiente", "000099", 6, "000100"},
               {"Siguiente", "A99", 2, "A100"},
               {"Siguiente", "", 3, "001"},
               {"Normaliza", "AB 0012", 0, "AB0012"},
               {"Normaliza", "PV000120", 0, "PV120"},
               {"Normaliza", "pv0012", 0, "pv0012"},
               {"Normaliza", "0012\r\n", 0, "12"},
               {"Numero", "PV000123", 0, "123"},
               {"Numero", "", 0, "0"},
               {"Rellena", "PV123", 9, "PV0000123"},
               {"Rellena", "PV1234567890", 9, "PV1234567890"},
               // Both ends of the prefix's A to Z, and the width reached exactly.
               {"Siguiente", "ZZ999", 5, "ZZ1000"},
               {"Siguiente", "PV0000999", 9, "PV0001000"},
               {"Siguiente", "@1", 4, "0001"},
               {"Numero", "Z0009", 0, "9"},
               {"Numero", "[7", 0, "0"},
               {"Numero", "PV000", 0, "0"},
               {"Normaliza", "PV000", 0, "PV"},
               {"Normaliza", "A0100", 0, "A100"},
               {"Rellena", "PV1234567", 9, "PV1234567"},
               {"Rellena", "Z7", 3, "Z07"},
               {"Rellena", "a1", 4, "00a1"},
               {"Columna", "A", 0, "1"},
               {"Columna", "Z", 0, "26"},
               {"Columna", "AA", 0, "27"},
               {"Columna", "BA", 0, "53"},
               {"Columna", "XFD", 0, "16384"},
               {"Columna", "a", 0, "0"},
               {"Columna", "", 0, "0"},
               {"Columna", "A1", 0, "0"}};
        for (const auto &[funcion, folio, ancho, esperado] : casos)
            QTest::addRow("%s '%s'", funcion, folio)
                << QString::fromUtf8(funcion) << QString::fromUtf8(folio) << ancho
                << QString::fromUtf8(esperado);
    }

    void folios()
    {
        QFETCH(QString, funcion);
        QFETCH(QString, folio);
        QFETCH(int, ancho);
        QString r;
        if (funcion == u"Siguiente")
            r = lar::FolioSiguiente(folio, ancho);
        else if (funcion == u"Normaliza")
            r = lar::FolioNormaliza(folio);
        else if (funcion == u"Numero")
            r = QString::number(lar::FolioNumero(folio));
        else if (funcion == u"Rellena")
            r = lar::FolioRellena(folio, ancho);
        else
            r = QString::number(lar::ExcelColumna(folio));
        QTEST(r, "esperado");
    }

    void divide_data()
    {
        QTest::addColumn<QString>("texto");
        QTest::addColumn<QString>("separador");
        QTest::addColumn<QStringList>("piezas");
        QTest::newRow("palabras") << u"tornillo de  acero"_s << u" "_s
                                  << QStringList{u"TORNILLO"_s, u"DE"_s, u""_s, u"ACERO"_s};
        QTest::newRow("ultima vacia") << u"uno,dos,"_s << u","_s << QStringList{u"UNO"_s, u"DOS"_s};
        QTest::newRow("primera vacia") << u",x"_s << u","_s << QStringList{u""_s, u"X"_s};
        QTest::newRow("solo a-z") << u"ñandú"_s << u" "_s << QStringList{u"ñANDú"_s};
        QTest::newRow("separador largo") << u"a--b--"_s << u"--"_s << QStringList{u"A"_s, u"B"_s};
        QTest::newRow("vacio") << ""
                               << " " << QStringList{};
    }

    void divide()
    {
        QFETCH(QString, texto);
        QFETCH(QString, separador);
        QFETCH(QStringList, piezas);
        QStringList lista{u"previo"_s};
        lar::Divide(lista, texto, separador);
        QCOMPARE(lista, piezas);
    }

    void versionArchivo()
    {
        static const QRegularExpression cuatro(u"^\\d+\\.\\d+\\.\\d+\\.\\d+$"_s);
        QVERIFY(cuatro.match(lar::VersionArchivo()).hasMatch());
    }
};

LAR_TEST_MAIN(TestIds)
#include "tst_core_ids.moc"
