#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>

namespace lar::reporte {

// Page setup in millimetres. The defaults are those of an empty report.
struct Pagina
{
    QString papel = QStringLiteral("Carta");
    double ancho = 215.9;
    double alto = 279.401;
    double margenIzq = 6.35;
    double margenDer = 6.35;
    double margenSup = 6.35;
    double margenInf = 6.35;
};

// One SQL text of a data view. Its parameters are the `:name` markers, which
// CargaPlantilla may replace by text.
struct TextoSql
{
    QString nombre;
    QString sql;
    QStringList parametros() const;
};

// A data view: its extra queries (each read as one row) and its main SQL, whose
// rows drive a detail band or whose first row feeds the bands that name it.
struct Vista
{
    QString nombre;
    QList<TextoSql> consultas;
    TextoSql principal;
};

enum class TipoElemento { Texto, Campo, Expresion, Linea, Rectangulo, Imagen, Total, NumPagina };
enum class Funcion { Suma, Cuenta };

// What a band holds. Positions are relative to the band, in millimetres.
struct Elemento
{
    TipoElemento tipo = TipoElemento::Texto;
    QString nombre;
    double x = 0, y = 0, ancho = 0, alto = 0;
    // Texto: the text; Campo and Total: the field ("VISTA.CAMPO" or "CAMPO");
    // Expresion: a script expression; NumPagina: a text where %1 is the page and
    // %2 the number of pages; Imagen: a file path or base64 PNG data.
    QString texto;
    QString formato; // display format of numbers ("#,0.00") or dates ("dd/MM/yyyy")
    QString fuente = QStringLiteral("DejaVu Sans");
    double puntos = 9;
    bool negrita = false;
    bool cursiva = false;
    int alineacion = 0; // Qt::Alignment flags; left and top when 0
    double grosor = 0.2;
    bool relleno = false;
    QColor color = Qt::black;
    QColor fondo; // invalid: none
    Funcion funcion = Funcion::Suma;
    QString alImprimir; // script function called before the element is placed
};

enum class TipoBanda {
    Titulo,
    EncabezadoPagina,
    EncabezadoGrupo,
    Detalle,
    PieGrupo,
    Resumen,
    PiePagina
};

struct Banda
{
    TipoBanda tipo = TipoBanda::Detalle;
    QString nombre;
    double alto = 0;
    QString grupo;      // EncabezadoGrupo and PieGrupo: the field that breaks
    QString alImprimir; // script function called before the band is placed
    QList<Elemento> elementos;
};

// A report definition: the text stored in rb_item.TEMPLATE, parsed.
struct Plantilla
{
    QString nombre;
    Pagina pagina;
    QList<Vista> vistas;
    QString vistaDetalle; // the view whose rows drive the detail; the first one when empty
    QString script;
    QString alIniciar; // script function called once before the layout
    QList<Banda> bandas;

    // Every SQL text of the views, in the order CargaPlantilla visits them: each
    // view's queries, then its main SQL.
    QList<TextoSql *> textosSql();
    const Vista *vista(const QString &nombre) const;
    // The group bands, outermost first (the order of their headers in the text).
    QStringList grupos() const;
    const Banda *banda(TipoBanda tipo, const QString &grupo = {}) const;
};

// Reads a template; false and a Spanish message on a malformed text.
bool leePlantilla(const QByteArray &texto, Plantilla &plantilla, QString *error = nullptr);

QString nombreTipoBanda(TipoBanda tipo);

} // namespace lar::reporte
