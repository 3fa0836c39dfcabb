#include "funcionesreporte.h"

#include "cfdi.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "toolkit/displayformat.h"
#include "toolkit/memtable.h"
#include "toolkit/reporte/funciones.h"

#include <QFile>
#include <QLocale>

#include <cmath>
#include <memory>

namespace lar {

using reporte::FuncionesScript;
using reporte::FuncionScript;

namespace {

// The query functions' shared data: one statement and the memory copy of its last
// result, for every report of the process.
std::unique_ptr<fb::Query> QueryActual;
std::unique_ptr<MemTable> MemActual;
QStringList registradas;

[[noreturn]] void falla(const QString &mensaje)
{
    throw fb::Error(mensaje);
}

fb::Query &query()
{
    if (!QueryActual)
        falla(QStringLiteral("No hay una consulta del reporte: falta SetQuery."));
    return *QueryActual;
}

MemTable &memoria()
{
    if (!MemActual)
        falla(QStringLiteral("No hay un resultado de consulta: falta OpenQuery."));
    return *MemActual;
}

// x rounded half away from zero to decimales places (negative: to tens, hundreds...),
// worked on its shortest decimal text so that 0.125 is a tie as written.
double redondeaDecimal(double x, int decimales)
{
    if (!std::isfinite(x))
        return x;
    const QString t = QString::number(std::fabs(x), 'f', QLocale::FloatingPointShortest);
    const qsizetype punto = t.indexOf(u'.');
    const QString entera = punto < 0 ? t : t.left(punto);
    const QString digitos = entera + (punto < 0 ? QString() : t.mid(punto + 1));
    const qsizetype guarda = entera.size() + decimales;
    if (guarda >= digitos.size())
        return x;
    if (guarda < 0)
        return 0.0;
    QString q = digitos.left(guarda);
    if (digitos.at(guarda) >= u'5') {
        qsizetype i = q.size() - 1;
        while (i >= 0 && q.at(i) == u'9')
            q[i--] = u'0';
        if (i >= 0)
            q[i] = QChar(q.at(i).unicode() + 1);
        else
            q.prepend(u'1');
    }
    const qsizetype enteros = entera.size() + (q.size() - guarda);
    const QString texto
        = decimales >= 0 ? q.left(enteros) + u'.' + q.mid(enteros) : q + QString(-decimales, u'0');
    const double r = texto.toDouble();
    return x < 0 ? -r : r;
}

QVariant &arg(QVariantList &a, int i)
{
    while (a.size() <= i)
        a.append(QVariant());
    return a[i];
}

void registra(const QString &nombre,
              QStringView categoria,
              const QString &firma,
              FuncionScript::Ejecuta ejecuta)
{
    FuncionesScript::registra(
        FuncionScript{nombre, categoria.toString(), firma, std::move(ejecuta)});
    registradas << nombre;
}

} // namespace

QString ArchivoCatalogoBancosSAT()
{
    return CarpetaDatos() + QStringLiteral("CatalogoBancosSAT.txt");
}

QString ArchivoCatalogoMetodosPagoSAT()
{
    return CarpetaDatos() + QStringLiteral("CatalogoMetodosPagoSAT.txt");
}

QString LeeCatalogoSAT(const QString &archivo, const QString &clave, bool soloSegundoCampo)
{
    QFile f(archivo);
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text)) {
        falla(QStringLiteral("Error de entrada/salida: no se pudo abrir el catálogo \"%1\".")
                  .arg(archivo));
    }
    QString resultado;
    while (!f.atEnd()) {
        QString linea = QString::fromUtf8(f.readLine());
        while (linea.endsWith(u'\n') || linea.endsWith(u'\r'))
            linea.chop(1);
        const qsizetype barra = linea.indexOf(u'|');
        if (barra < 0 || linea.left(barra) != clave)
            continue;
        const QString resto = linea.mid(barra + 1);
        resultado = soloSegundoCampo ? resto.section(u'|', 0, 0) : resto;
    }
    return resultado;
}

QString FolioSinJustificar(const QString &folio)
{
    QString limpio = folio;
    limpio.remove(u' ').remove(u'\r').remove(u'\n');
    qsizetype i = 0;
    while (i < limpio.size() && limpio.at(i) >= u'A' && limpio.at(i) <= u'Z')
        ++i;
    qsizetype j = i;
    while (j < limpio.size() && limpio.at(j) == u'0')
        ++j;
    return limpio.left(i) + limpio.mid(j);
}

QString ProtegeNumTarjeta(const QString &numero, QChar proteccion, int longTerminacion)
{
    const qsizetype n = numero.size() - longTerminacion;
    if (n <= 0)
        return numero;
    return QString(n, proteccion) + numero.mid(n);
}

QString NumStr(double cantidad, int precision, int decimales)
{
    precision = std::clamp(precision, 1, 18);
    decimales = std::clamp(decimales, 0, 18);
    // Significant digits count from the first non-zero digit.
    int exponente = 0;
    if (cantidad != 0 && std::isfinite(cantidad))
        exponente = int(std::floor(std::log10(std::fabs(cantidad)))) + 1;
    const double valor = redondeaDecimal(cantidad, std::min(decimales, precision - exponente));
    return formatFloat(QStringLiteral("#,###0.00"), valor);
}

double RoundMin(double cant, double min)
{
    QString s = QString::number(min, 'g', 15);
    const qsizetype p = s.indexOf(u'.');
    if (min == 1.0 || p < 0)
        falla(QStringLiteral("Operación de punto flotante no válida."));
    s.remove(p, 2);
    double factor = 1;
    if (s.size() > 2) {
        for (qsizetype i = 0; i < s.size() - 1; ++i)
            factor *= 10;
    }
    return std::nearbyint(cant * factor) / factor;
}

QString CurrToStr(double valor)
{
    return QString::number(redondeaDecimal(valor, 4), 'f', QLocale::FloatingPointShortest);
}

double TextoANumero(const QString &texto)
{
    bool ok = false;
    const double v = texto.trimmed().toDouble(&ok);
    if (!ok)
        falla(QStringLiteral("'%1' no es un valor numérico válido.").arg(texto));
    return v;
}

void RegistraFuncionesReporte(Sesion &s)
{
    QuitaFuncionesReporte();
    Sesion *sesion = &s;

    registra(QStringLiteral("Chr"),
             CategoriaCadenas,
             QStringLiteral("function Chr(Value: Integer): Char;"),
             [](QVariantList &a, QVariant &r) { r = QString(QChar(char16_t(arg(a, 0).toInt()))); });

    registra(QStringLiteral("GetBancoDestinoSAT"),
             CategoriaCatalogos,
             QStringLiteral("function GetBancoDestinoSAT(Clave:string): string;"),
             [](QVariantList &a, QVariant &r) {
                 r = LeeCatalogoSAT(ArchivoCatalogoBancosSAT(), arg(a, 0).toString(), true);
             });
    registra(QStringLiteral("GetMetodoPagoSAT"),
             CategoriaCatalogos,
             QStringLiteral("function GetMetodoPagoSAT(Clave:string): string;"),
             [](QVariantList &a, QVariant &r) {
                 r = LeeCatalogoSAT(ArchivoCatalogoMetodosPagoSAT(), arg(a, 0).toString(), false);
             });

    for (const FuncionScript &f : cfdi::FuncionesCfd(s)) {
        FuncionesScript::registra(f);
        registradas << f.nombre;
    }

    registra(QStringLiteral("CurrToStr"),
             CategoriaConversion,
             QStringLiteral("function Chr(Value: Currency): String;"),
             [](QVariantList &a, QVariant &r) { r = CurrToStr(arg(a, 0).toDouble()); });

    registra(QStringLiteral("GetParam"),
             CategoriaCatalogos,
             QStringLiteral("procedure GetParam(Reporte: TppReport; NombreParametro: "
                            "string;var Valor:Variant;var Tipo: string);"),
             [](QVariantList &a, QVariant &) { arg(a, 3) = QStringLiteral("C"); });

    // The query functions: a statement on the session's update transaction, whose
    // whole result is copied through text into a memory table that the script walks.
    registra(QStringLiteral("SetQuery"),
             CategoriaCadenas,
             QStringLiteral(" procedure SetQuery(Query: string);"),
             [sesion](QVariantList &a, QVariant &) {
                 QueryActual
                     = std::make_unique<fb::Query>(&sesion->fbDatabase(), &sesion->fbUpdateTrans());
                 QueryActual->setTrimChars(true);
                 QueryActual->setSql(arg(a, 0).toString());
             });
    registra(QStringLiteral("SetParamValue"),
             CategoriaCadenas,
             QStringLiteral(" procedure SetParamValue(ParamName: string; Valor:variant);"),
             [](QVariantList &a, QVariant &) { query().bind(arg(a, 0).toString(), arg(a, 1)); });
    registra(QStringLiteral("OpenQuery"),
             CategoriaCadenas,
             QStringLiteral(" procedure OpenQuery;"),
             [sesion](QVariantList &, QVariant &) {
                 fb::Query &q = query();
                 sesion->TransInicia();
                 q.close();
                 q.open();
                 MemActual = std::make_unique<MemTable>();
                 MemActual->copyStructure(q);
                 MemActual->open();
                 for (; !q.eof(); q.next()) {
                     MemActual->append();
                     for (int i = 0; i < q.fieldCount(); ++i) {
                         const fb::Field f = q.field(i);
                         if (f.isNull())
                             MemActual->field(i).clear();
                         else
                             MemActual->field(i).setValue(f.toString());
                     }
                     MemActual->post();
                 }
                 MemActual->first();
             });
    registra(QStringLiteral("Next"),
             CategoriaCadenas,
             QStringLiteral(" procedure Next;"),
             [](QVariantList &, QVariant &) { memoria().next(); });
    registra(QStringLiteral("Eof"),
             CategoriaCadenas,
             QStringLiteral(" Function Eof:Boolean;"),
             [](QVariantList &, QVariant &r) { r = memoria().eof(); });
    registra(QStringLiteral("First"),
             CategoriaCadenas,
             QStringLiteral(" procedure First;"),
             [](QVariantList &, QVariant &) { memoria().first(); });
    registra(QStringLiteral("GetfieldAsDate"),
             CategoriaConversion,
             QStringLiteral(" function GetFieldAsDate(FieldName:String):TDate;"),
             [](QVariantList &a, QVariant &r) {
                 r = memoria().fieldByName(arg(a, 0).toString()).asDate();
             });
    registra(QStringLiteral("GetfieldAsFloat"),
             CategoriaConversion,
             QStringLiteral(" function GetFieldAsFloat(FieldName:String):Double;"),
             [](QVariantList &a, QVariant &r) {
                 r = memoria().fieldByName(arg(a, 0).toString()).asFloat();
             });
    registra(QStringLiteral("GetfieldAsInteger"),
             CategoriaConversion,
             QStringLiteral(" function GetFieldAsInteger(FieldName:String):Integer;"),
             [](QVariantList &a, QVariant &r) {
                 r = memoria().fieldByName(arg(a, 0).toString()).asInteger();
             });
    registra(QStringLiteral("GetfieldAsString"),
             CategoriaCadenas,
             QStringLiteral(" function GetFieldAsString(FieldName:String):String;"),
             [](QVariantList &a, QVariant &r) {
                 r = memoria().fieldByName(arg(a, 0).toString()).asString();
             });
    registra(QStringLiteral("CloseQuery"),
             CategoriaCadenas,
             QStringLiteral(" procedure ClosseQuery;"),
             [](QVariantList &, QVariant &) {
                 query().close();
                 QueryActual.reset();
             });

    registra(QStringLiteral("FolioSinJustificar"),
             CategoriaCadenas,
             QStringLiteral("function  FolioSinJustificar(const S: string): string;"),
             [](QVariantList &a, QVariant &r) { r = FolioSinJustificar(arg(a, 0).toString()); });
    registra(QStringLiteral("DesglTextoImpteLetra"),
             CategoriaCadenas,
             QStringLiteral("function DesgTextoImpte(TextoImpteLetra: string; var "
                            "LeyendaMoneda,LeyendaAlFinal:string):Boolean;"),
             [](QVariantList &a, QVariant &r) {
                 const QString texto = arg(a, 0).toString();
                 const qsizetype barra = texto.indexOf(u'/');
                 if (barra >= 0) {
                     arg(a, 1) = texto.left(barra);
                     arg(a, 2) = texto.mid(barra + 1);
                 } else {
                     arg(a, 1) = QString();
                 }
                 // The result is never set: scripts always see false.
                 r = false;
             });
    registra(QStringLiteral("GetCantidadStr"),
             CategoriaCadenas,
             QStringLiteral("function  GetCantidadStr(Numero: Extended; Ingles:boolean; "
                            "Mayusculas:Boolean; LeyendaMoneda:String; LeyendaFinal:string): "
                            "string;"),
             [](QVariantList &, QVariant &r) { r = QString(); });
    registra(QStringLiteral("NumStr"),
             CategoriaCadenas,
             QStringLiteral("function NumStr(DispText:boolean; Cantidad:extended; Precision, "
                            "Decimales, DecimalesMin: Integer; Tipo:string): string;"),
             [](QVariantList &a, QVariant &r) {
                 r = NumStr(arg(a, 1).toDouble(), arg(a, 2).toInt(), arg(a, 3).toInt());
             });
    registra(QStringLiteral("ProtegeNumTarjeta"),
             CategoriaCadenas,
             QStringLiteral("function ProtegeNumTarjeta(NumTarjeta: string; CaracterProteccion: "
                            "Char; LongTerminacion: Integer): string;"),
             [](QVariantList &a, QVariant &r) {
                 const QString c = arg(a, 1).toString();
                 r = ProtegeNumTarjeta(
                     arg(a, 0).toString(), c.isEmpty() ? QChar(u' ') : c.at(0), arg(a, 2).toInt());
             });
    registra(QStringLiteral("RoundMin"),
             CategoriaConversion,
             QStringLiteral("function RoundMin(Cant,Min: Extended): Extended;"),
             [](QVariantList &a, QVariant &r) {
                 r = RoundMin(arg(a, 0).toDouble(), arg(a, 1).toDouble());
             });
    registra(QStringLiteral("FormatString"),
             CategoriaConversion,
             QStringLiteral("function FormatString(const EditMask, Value: String): String;"),
             [](QVariantList &a, QVariant &r) {
                 // The formatted text is dropped: the value goes back as it came.
                 const QString valor = arg(a, 1).toString();
                 formatFloat(arg(a, 0).toString(), TextoANumero(valor));
                 arg(a, 1) = valor;
                 r = QString();
             });
}

void QuitaFuncionesReporte()
{
    for (const QString &n : std::as_const(registradas))
        FuncionesScript::quita(n);
    registradas.clear();
    QueryActual.reset();
    MemActual.reset();
    cfdi::Libera();
}

QStringList NombresFuncionesReporte()
{
    return registradas;
}

} // namespace lar
