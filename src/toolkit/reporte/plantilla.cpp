#include "plantilla.h"

#include "fb/query.h"

#include <QDomDocument>

namespace lar::reporte {

QStringList TextoSql::parametros() const
{
    QStringList nombres;
    for (const QString &n : fb::parseParams(sql).names) {
        if (!n.isEmpty() && !nombres.contains(n, Qt::CaseInsensitive))
            nombres << n;
    }
    return nombres;
}

QList<TextoSql *> Plantilla::textosSql()
{
    QList<TextoSql *> textos;
    for (Vista &v : vistas) {
        for (TextoSql &c : v.consultas)
            textos << &c;
        textos << &v.principal;
    }
    return textos;
}

const Vista *Plantilla::vista(const QString &nombre) const
{
    for (const Vista &v : vistas) {
        if (v.nombre.compare(nombre, Qt::CaseInsensitive) == 0)
            return &v;
    }
    return nullptr;
}

QStringList Plantilla::grupos() const
{
    QStringList g;
    for (const Banda &b : bandas) {
        if (b.tipo == TipoBanda::EncabezadoGrupo || b.tipo == TipoBanda::PieGrupo) {
            if (!g.contains(b.grupo, Qt::CaseInsensitive))
                g << b.grupo;
        }
    }
    return g;
}

const Banda *Plantilla::banda(TipoBanda tipo, const QString &grupo) const
{
    for (const Banda &b : bandas) {
        if (b.tipo == tipo && b.grupo.compare(grupo, Qt::CaseInsensitive) == 0)
            return &b;
    }
    return nullptr;
}

namespace {

struct NombreTipo
{
    TipoBanda tipo;
    const char16_t *nombre;
};
constexpr NombreTipo kTiposBanda[] = {
    {TipoBanda::Titulo, u"titulo"},
    {TipoBanda::EncabezadoPagina, u"encabezadoPagina"},
    {TipoBanda::EncabezadoGrupo, u"encabezadoGrupo"},
    {TipoBanda::Detalle, u"detalle"},
    {TipoBanda::PieGrupo, u"pieGrupo"},
    {TipoBanda::Resumen, u"resumen"},
    {TipoBanda::PiePagina, u"piePagina"},
};

struct NombreElemento
{
    TipoElemento tipo;
    const char16_t *nombre;
};
constexpr NombreElemento kTiposElemento[] = {
    {TipoElemento::Texto, u"texto"},
    {TipoElemento::Campo, u"campo"},
    {TipoElemento::Expresion, u"expresion"},
    {TipoElemento::Linea, u"linea"},
    {TipoElemento::Rectangulo, u"rectangulo"},
    {TipoElemento::Imagen, u"imagen"},
    {TipoElemento::Total, u"total"},
    {TipoElemento::NumPagina, u"numPagina"},
};

double numero(const QDomElement &e, const QString &atributo, double def, bool &ok)
{
    if (!e.hasAttribute(atributo))
        return def;
    bool esNumero = false;
    const double v = e.attribute(atributo).toDouble(&esNumero);
    if (!esNumero)
        ok = false;
    return esNumero ? v : def;
}

bool siNo(const QDomElement &e, const QString &atributo)
{
    const QString v = e.attribute(atributo).toLower();
    return v == u"si" || v == u"sí" || v == u"1" || v == u"true";
}

int alineacion(const QString &texto)
{
    int a = Qt::AlignVCenter;
    if (texto == u"centro")
        a |= Qt::AlignHCenter;
    else if (texto == u"derecha")
        a |= Qt::AlignRight;
    else
        a |= Qt::AlignLeft;
    return a;
}

} // namespace

QString nombreTipoBanda(TipoBanda tipo)
{
    for (const auto &t : kTiposBanda) {
        if (t.tipo == tipo)
            return QString::fromUtf16(t.nombre);
    }
    return {};
}

bool leePlantilla(const QByteArray &texto, Plantilla &plantilla, QString *error)
{
    auto falla = [&](const QString &m) {
        if (error)
            *error = m;
        return false;
    };
    QDomDocument doc;
    QString mensaje;
    int linea = 0;
    if (!doc.setContent(texto, &mensaje, &linea)) {
        return falla(QStringLiteral("La plantilla no es un documento válido (línea %1): %2")
                         .arg(linea)
                         .arg(mensaje));
    }
    const QDomElement raiz = doc.documentElement();
    if (raiz.tagName() != u"reporte")
        return falla(QStringLiteral("La plantilla no es un reporte."));

    Plantilla p;
    bool ok = true;
    p.nombre = raiz.attribute(QStringLiteral("nombre"));
    p.vistaDetalle = raiz.attribute(QStringLiteral("vistaDetalle"));
    p.alIniciar = raiz.attribute(QStringLiteral("alIniciar"));

    for (QDomElement e = raiz.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
        const QString tag = e.tagName();
        if (tag == u"pagina") {
            Pagina &g = p.pagina;
            g.papel = e.attribute(QStringLiteral("papel"), g.papel);
            g.ancho = numero(e, QStringLiteral("ancho"), g.ancho, ok);
            g.alto = numero(e, QStringLiteral("alto"), g.alto, ok);
            const double m = numero(e, QStringLiteral("margenes"), g.margenIzq, ok);
            g.margenIzq = numero(e, QStringLiteral("margenIzq"), m, ok);
            g.margenDer = numero(e, QStringLiteral("margenDer"), m, ok);
            g.margenSup = numero(e, QStringLiteral("margenSup"), m, ok);
            g.margenInf = numero(e, QStringLiteral("margenInf"), m, ok);
        } else if (tag == u"vista") {
            Vista v;
            v.nombre = e.attribute(QStringLiteral("nombre"));
            for (QDomElement c = e.firstChildElement(); !c.isNull(); c = c.nextSiblingElement()) {
                if (c.tagName() == u"consulta")
                    v.consultas << TextoSql{c.attribute(QStringLiteral("nombre")),
                                            c.text().trimmed()};
                else if (c.tagName() == u"sql")
                    v.principal = TextoSql{v.nombre, c.text().trimmed()};
            }
            if (v.nombre.isEmpty())
                return falla(QStringLiteral("Una vista de datos no tiene nombre."));
            p.vistas << v;
        } else if (tag == u"script") {
            p.script += e.text();
        } else if (tag == u"banda") {
            Banda b;
            bool conocida = false;
            for (const auto &t : kTiposBanda) {
                if (e.attribute(QStringLiteral("tipo")) == QStringView(t.nombre)) {
                    b.tipo = t.tipo;
                    conocida = true;
                }
            }
            if (!conocida) {
                return falla(QStringLiteral("Tipo de banda desconocido: \"%1\".")
                                 .arg(e.attribute(QStringLiteral("tipo"))));
            }
            b.nombre = e.attribute(QStringLiteral("nombre"), nombreTipoBanda(b.tipo));
            b.alto = numero(e, QStringLiteral("alto"), 0, ok);
            b.grupo = e.attribute(QStringLiteral("grupo"));
            b.alImprimir = e.attribute(QStringLiteral("alImprimir"));
            if ((b.tipo == TipoBanda::EncabezadoGrupo || b.tipo == TipoBanda::PieGrupo)
                && b.grupo.isEmpty()) {
                return falla(
                    QStringLiteral("La banda \"%1\" no dice el campo de su grupo.").arg(b.nombre));
            }
            for (QDomElement x = e.firstChildElement(); !x.isNull(); x = x.nextSiblingElement()) {
                Elemento el;
                bool tipoOk = false;
                for (const auto &t : kTiposElemento) {
                    if (x.tagName() == QStringView(t.nombre)) {
                        el.tipo = t.tipo;
                        tipoOk = true;
                    }
                }
                if (!tipoOk) {
                    return falla(QStringLiteral("Elemento desconocido: \"%1\".").arg(x.tagName()));
                }
                el.nombre = x.attribute(QStringLiteral("nombre"));
                if (el.tipo == TipoElemento::Linea) {
                    el.x = numero(x, QStringLiteral("x1"), 0, ok);
                    el.y = numero(x, QStringLiteral("y1"), 0, ok);
                    el.ancho = numero(x, QStringLiteral("x2"), el.x, ok) - el.x;
                    el.alto = numero(x, QStringLiteral("y2"), el.y, ok) - el.y;
                } else {
                    el.x = numero(x, QStringLiteral("x"), 0, ok);
                    el.y = numero(x, QStringLiteral("y"), 0, ok);
                    el.ancho = numero(x, QStringLiteral("ancho"), 0, ok);
                    el.alto = numero(x, QStringLiteral("alto"), 0, ok);
                }
                el.texto = el.tipo == TipoElemento::Texto || el.tipo == TipoElemento::NumPagina
                               ? x.text()
                               : x.text().trimmed();
                if (el.tipo == TipoElemento::NumPagina && el.texto.isEmpty())
                    el.texto = QStringLiteral("Página %1 de %2");
                el.formato = x.attribute(QStringLiteral("formato"));
                el.fuente = x.attribute(QStringLiteral("fuente"), el.fuente);
                el.puntos = numero(x, QStringLiteral("puntos"), el.puntos, ok);
                el.negrita = siNo(x, QStringLiteral("negrita"));
                el.cursiva = siNo(x, QStringLiteral("cursiva"));
                el.alineacion = alineacion(x.attribute(QStringLiteral("alinea")));
                el.grosor = numero(x, QStringLiteral("grosor"), el.grosor, ok);
                el.relleno = siNo(x, QStringLiteral("relleno"));
                if (x.hasAttribute(QStringLiteral("color")))
                    el.color = QColor(x.attribute(QStringLiteral("color")));
                if (x.hasAttribute(QStringLiteral("fondo")))
                    el.fondo = QColor(x.attribute(QStringLiteral("fondo")));
                if (x.attribute(QStringLiteral("funcion")) == u"cuenta")
                    el.funcion = Funcion::Cuenta;
                el.alImprimir = x.attribute(QStringLiteral("alImprimir"));
                b.elementos << el;
            }
            p.bandas << b;
        } else {
            return falla(QStringLiteral("Sección desconocida en la plantilla: \"%1\".").arg(tag));
        }
    }
    if (!ok)
        return falla(QStringLiteral("La plantilla tiene una medida que no es un número."));
    if (!p.vistaDetalle.isEmpty() && !p.vista(p.vistaDetalle)) {
        return falla(QStringLiteral("La vista de detalle \"%1\" no existe.").arg(p.vistaDetalle));
    }
    plantilla = p;
    return true;
}

} // namespace lar::reporte
