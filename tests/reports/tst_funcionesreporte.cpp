// The report script functions, called from JavaScript through the engine as a
// template calls them: the pure ones from tables of cases, the query functions over
// a real Firebird company.
#include "core/sesion.h"
#include "reports/cfdi.h"
#include "reports/funcionesreporte.h"
#include "scriptprueba.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/reporte/funciones.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;
using namespace lar;
using lartest::correScript;

class TestFuncionesReporte : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    std::unique_ptr<Sesion> m_s;
    QString m_datos;

    QString corre(const QString &expresion, const QString &script = {})
    {
        return correScript(expresion, script, &m_s->fbDatabase());
    }

private slots:
    void initTestCase()
    {
        m_datos = lartest::tempDir() + u"/datos/"_s;
        QDir().mkpath(m_datos);
        qputenv("LARVENOS_DATOS", m_datos.toUtf8());
        m_e = std::make_unique<lartest::EntornoPrueba>();
        m_s = std::make_unique<Sesion>();
        m_e->conectaSesion(*m_s);
        RegistraFuncionesReporte(*m_s);
    }

    void cleanupTestCase()
    {
        QuitaFuncionesReporte();
        QVERIFY(!reporte::FuncionesScript::busca(u"RoundMin"_s));
        QVERIFY(!reporte::FuncionesScript::busca(u"CfdGetQRCode"_s));
        QCOMPARE(correScript(u"Chr(65)"_s).left(6), u"ERROR:"_s);
    }

    // The designed order by group, the odd signatures as they stand, the categories.
    void registro()
    {
        const QStringList n = NombresFuncionesReporte();
        QCOMPARE(n.size(), 44);
        QCOMPARE(
            n.mid(0, 4),
            (QStringList{
                u"Chr"_s, u"GetBancoDestinoSAT"_s, u"GetMetodoPagoSAT"_s, u"CfdLoadFromString"_s}));
        QCOMPARE(n.indexOf(u"CfdGetQRCode"_s), 23);
        QCOMPARE(n.mid(24, 3), (QStringList{u"CurrToStr"_s, u"GetParam"_s, u"SetQuery"_s}));
        QCOMPARE(n.indexOf(u"CloseQuery"_s), 36);
        QCOMPARE(n.last(), u"FormatString"_s);

        auto firma = [](const char16_t *nombre) {
            return reporte::FuncionesScript::busca(QString::fromUtf16(nombre))->firma;
        };
        QCOMPARE(firma(u"CurrToStr"), u"function Chr(Value: Currency): String;"_s);
        QCOMPARE(firma(u"CloseQuery"), u" procedure ClosseQuery;"_s);
        QCOMPARE(firma(u"DesglTextoImpteLetra"),
                 u"function DesgTextoImpte(TextoImpteLetra: string; var "
                 u"LeyendaMoneda,LeyendaAlFinal:string):Boolean;"_s);
        QCOMPARE(firma(u"CfdGetNumParcialidad"), firma(u"CfdGetFormaDePago"));
        QCOMPARE(reporte::FuncionesScript::busca(u"GetParam"_s)->categoria, u"CatalogosExtMsp"_s);
        QCOMPARE(reporte::FuncionesScript::busca(u"CfdGetQRCode"_s)->categoria, u"CfdMsg"_s);
        QCOMPARE(reporte::FuncionesScript::busca(u"GetParam"_s)->argumentosVar(),
                 (QList<int>{2, 3}));
    }

    void pura_data()
    {
        QTest::addColumn<QString>("expresion");
        QTest::addColumn<QString>("esperado");
        auto fila = [](const char *nombre, const char16_t *e, const char16_t *r) {
            QTest::newRow(nombre) << QString::fromUtf16(e) << QString::fromUtf16(r);
        };
        fila("folio", u"FolioSinJustificar('AB000123')", u"AB123");
        fila("folio digitos", u"FolioSinJustificar('000123')", u"123");
        fila("folio solo ceros", u"FolioSinJustificar('FAC0000')", u"FAC");
        fila("folio blancos", u"FolioSinJustificar(' A 00 1\\r\\n2 ')", u"A12");
        fila("folio ceros internos", u"FolioSinJustificar('B0102')", u"B102");
        fila("roundmin 0.5", u"String(RoundMin(2.5, 0.5))", u"2");
        fila("roundmin 0.5 par", u"String(RoundMin(3.5, 0.5))", u"4");
        fila("roundmin 0.05", u"String(RoundMin(12.76, 0.05))", u"13");
        fila("roundmin 0.01", u"String(RoundMin(12.4, 0.01))", u"12");
        fila("roundmin 0.001", u"String(RoundMin(1.23456, 0.001))", u"1.23");
        fila("roundmin 0.0001", u"String(RoundMin(1.23456, 0.0001))", u"1.235");
        fila("roundmin 123.5", u"String(RoundMin(7.125, 123.5))", u"7.12");
        fila("roundmin 1", u"String(RoundMin(7, 1))", u"ERROR");
        fila("roundmin entero", u"String(RoundMin(7, 2))", u"ERROR");
        fila("tarjeta", u"ProtegeNumTarjeta('4111222233334444', '*', 4)", u"************4444");
        fila("tarjeta toda", u"ProtegeNumTarjeta('1234', '*', 4)", u"1234");
        fila("tarjeta corta", u"ProtegeNumTarjeta('12', 'X', 5)", u"12");
        fila("tarjeta sin terminacion", u"ProtegeNumTarjeta('1234', '#', 0)", u"####");
        fila("tarjeta una", u"ProtegeNumTarjeta('1234', 'x', 3)", u"x234");
        fila("numstr", u"NumStr(true, 1234.5, 18, 2, 2, '')", u"1,234.50");
        fila("numstr mitad", u"NumStr(false, 0.125, 18, 2, 0, 'x')", u"0.13");
        fila("numstr un decimal", u"NumStr(true, 2.25, 18, 1, 0, '')", u"2.30");
        fila("numstr sin decimales", u"NumStr(true, 1234567.5, 18, 0, 0, '')", u"1,234,568.00");
        fila("numstr negativo", u"NumStr(true, -2.345, 18, 2, 0, '')", u"-2.35");
        fila("numstr precision", u"NumStr(true, 123.456, 4, 2, 0, '')", u"123.50");
        fila("chr", u"Chr(65) + Chr(209)", u"AÑ");
        fila("currtostr", u"CurrToStr(1234.5)", u"1234.5");
        fila("currtostr cuatro", u"CurrToStr(0.123456)", u"0.1235");
        fila("cantidad",
             u"'[' + GetCantidadStr(1234.56, false, true, 'PESOS', 'M.N.') + ']'",
             u"[]");
        fila("formatstring", u"'[' + FormatString('#,0.00', '12.5') + ']'", u"[]");
        fila("formatstring texto", u"FormatString('#,0.00', 'abc')", u"ERROR");
        fila("getparam",
             u"(function() { var v = {value: 7}, t = {value: 'N'};"
             u" GetParam(null, 'P', v, t); return v.value + t.value; })()",
             u"7C");
        fila("desglose",
             u"(function() { var m = {value: 'a'}, f = {value: 'b'};"
             u" var r = DesglTextoImpteLetra('PESOS/M.N./X', m, f);"
             u" return [r, m.value, f.value].join('|'); })()",
             u"false|PESOS|M.N./X");
        fila("desglose sin barra",
             u"(function() { var m = {value: 'a'}, f = {value: 'b'};"
             u" var r = DesglTextoImpteLetra('CIEN PESOS', m, f);"
             u" return [r, m.value, f.value].join('|'); })()",
             u"false||b");
    }

    void pura()
    {
        QFETCH(QString, expresion);
        QFETCH(QString, esperado);
        const QString r = corre(expresion);
        if (esperado == u"ERROR")
            QVERIFY2(r.startsWith(u"ERROR: "), qPrintable(r));
        else
            QCOMPARE(r, esperado);
    }

    // Catalogues come from their files in the data folder; a missing file fails.
    void catalogos()
    {
        QFile::remove(ArchivoCatalogoBancosSAT());
        QVERIFY(corre(u"GetBancoDestinoSAT('002')"_s).contains(u"catálogo"));

        QFile b(ArchivoCatalogoBancosSAT());
        QVERIFY(b.open(QIODevice::WriteOnly));
        b.write("002|BANAMEX|Banco Nacional de M\xc3\xa9xico, S.A.\r\n"
                "0021|NO|x\n012|BBVA BANCOMER|BBVA Bancomer, S.A.\n");
        b.close();
        QFile m(ArchivoCatalogoMetodosPagoSAT());
        QVERIFY(m.open(QIODevice::WriteOnly));
        m.write("PUE|Pago en una sola exhibici\xc3\xb3n\nPPD|Pago en parcialidades o diferido|x\n");
        m.close();

        QCOMPARE(corre(u"GetBancoDestinoSAT('002')"_s), u"BANAMEX"_s);
        QCOMPARE(corre(u"GetBancoDestinoSAT('012')"_s), u"BBVA BANCOMER"_s);
        QCOMPARE(corre(u"'[' + GetBancoDestinoSAT('02') + ']'"_s), u"[]"_s);
        QCOMPARE(corre(u"GetMetodoPagoSAT('PUE')"_s), u"Pago en una sola exhibición"_s);
        QCOMPARE(corre(u"GetMetodoPagoSAT('PPD')"_s), u"Pago en parcialidades o diferido|x"_s);
        QCOMPARE(corre(u"'[' + GetMetodoPagoSAT('pue') + ']'"_s), u"[]"_s);
    }

    // The query functions read a real statement's rows from their memory copy.
    void consultas()
    {
        const QString sql
            = u"select 1 as N, cast('2024-03-05' as date) as F, cast(12.345 as double precision)"
              u" as X, cast('uno' as varchar(10)) as S, cast(null as varchar(5)) as V"
              u" from rdb$database union all"
              u" select 2, cast('2025-12-31' as date), -0.5, 'dós', 'v' from rdb$database"
              u" where 1 = :UNO"_s;
        const QString script
            = u"function lee() {\n"
              u"  SetQuery(\"%1\");\n"
              u"  SetParamValue('UNO', 1);\n"
              u"  OpenQuery();\n"
              u"  var t = [];\n"
              u"  while (!Eof()) {\n"
              u"    t.push(GetfieldAsInteger('N') + ';' + GetfieldAsString('S') + ';'\n"
              u"      + GetfieldAsFloat('X') + ';' + GetfieldAsDate('F').getFullYear() + ';['\n"
              u"      + GetfieldAsString('V') + ']');\n"
              u"    Next();\n"
              u"  }\n"
              u"  Next(); t.push(Eof());\n"
              u"  CloseQuery();\n"
              u"  First(); t.push(GetfieldAsString('S'));\n"
              u"  return t.join('/');\n"
              u"}\n"_s.arg(sql);
        QCOMPARE(corre(u"lee()"_s, script), u"1;uno;12.345;2024;[]/2;dós;-0.5;2025;[v]/true/uno"_s);

        QCOMPARE(corre(u"(function() { SetQuery('select 1 as N from rdb$database "
                       u"where 1 = 0'); OpenQuery(); var e = Eof(); "
                       u"CloseQuery(); return String(e); })()"_s),
                 u"true"_s);
        // Misuse stops the report with a message instead of reading stale data.
        const QString doble
            = corre(u"(function() { SetQuery('select 1 as N from rdb$database'); OpenQuery(); "
                    u"CloseQuery(); CloseQuery(); })()"_s);
        QVERIFY2(doble.startsWith(u"ERROR: ") && doble.contains(u"SetQuery"), qPrintable(doble));
        const QString mala = corre(
            u"(function() { SetQuery('select nada from rdb$database'); OpenQuery(); })()"_s);
        QVERIFY2(mala.startsWith(u"ERROR: ") && mala.contains(u"NADA"), qPrintable(mala));
    }
};

LAR_TEST_MAIN(TestFuncionesReporte)
#include "tst_funcionesreporte.moc"
