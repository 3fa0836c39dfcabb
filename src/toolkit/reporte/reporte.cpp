#include "reporte.h"

#include "fb/decimal.h"
#include "fb/error.h"
#include "fb/transaction.h"
#include "funciones.h"
#include "toolkit/displayformat.h"

#include <QBuffer>
#include <QFile>
#include <QJSEngine>
#include <QJSValueIterator>

#include <optional>

namespace lar::reporte {

QStringList Hoja::textos() const
{
    QStringList t;
    for (const Primitiva &p : primitivas) {
        if (p.tipo == Primitiva::Tipo::Texto)
            t << p.texto;
    }
    return t;
}

namespace {

double aDoble(const QVariant &v)
{
    if (v.metaType() == QMetaType::fromType<fb::Decimal>())
        return v.value<fb::Decimal>().toDouble();
    return v.toDouble();
}

bool esNumero(const QVariant &v)
{
    switch (v.metaType().id()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Short:
        return true;
    default:
        return v.metaType() == QMetaType::fromType<fb::Decimal>();
    }
}

QString textoValor(const QVariant &v, const QString &formato)
{
    if (!v.isValid() || v.isNull())
        return {};
    if (v.metaType() == QMetaType::fromType<fb::Decimal>()) {
        const fb::Decimal d = v.value<fb::Decimal>();
        return formato.isEmpty() ? d.toString() : formatFloat(formato, d);
    }
    if (esNumero(v))
        return formato.isEmpty() ? v.toString() : formatFloat(formato, v.toDouble());
    if (v.metaType().id() == QMetaType::QDate)
        return v.toDate().toString(formato.isEmpty() ? QStringLiteral("dd/MM/yyyy") : formato);
    if (v.metaType().id() == QMetaType::QDateTime) {
        return v.toDateTime().toString(formato.isEmpty() ? QStringLiteral("dd/MM/yyyy hh:mm")
                                                         : formato);
    }
    return v.toString();
}

// Values handed to scripts: decimals as numbers, the rest as they are.
QVariant paraScript(const QVariant &v)
{
    if (v.metaType() == QMetaType::fromType<fb::Decimal>())
        return v.value<fb::Decimal>().toDouble();
    return v;
}

QImage cargaImagen(const QString &texto)
{
    QImage img;
    if (texto.isEmpty())
        return img;
    if (QFile::exists(texto) && img.load(texto))
        return img;
    img.loadFromData(QByteArray::fromBase64(texto.toLatin1()));
    return img;
}

struct Fuente
{
    QString nombre;
    QStringList campos;
    QVariantList fila;
    QVariantList anterior;
    bool usarAnterior = false;

    const QVariantList &vigente() const { return usarAnterior ? anterior : fila; }
};

} // namespace

// The scripts' window on the report: the current row's fields, the parameters, the
// page, and the registered functions.
class ContextoScript : public QObject
{
    Q_OBJECT
public:
    std::function<QVariant(const QString &)> campo;
    std::function<QVariant(const QString &)> parametro;
    int pagina = 0;
    QJSEngine *js = nullptr;

    Q_INVOKABLE QVariant leeCampo(const QString &nombre) const { return paraScript(campo(nombre)); }
    Q_INVOKABLE QVariant leeParametro(const QString &nombre) const
    {
        return paraScript(parametro(nombre));
    }
    Q_INVOKABLE int paginaActual() const { return pagina; }
    Q_INVOKABLE QString formatoCampo(const QString &nombre, const QString &formato) const
    {
        return textoValor(campo(nombre), formato);
    }
    Q_INVOKABLE QString formatoNumero(double valor, const QString &formato) const
    {
        return formatFloat(formato, valor);
    }
    // Runs a registered function; returns [resultado, argumentos...] so that the
    // script side can write the var arguments back.
    Q_INVOKABLE QVariantList llama(const QString &nombre, const QVariantList &argumentos) const
    {
        const FuncionScript *f = FuncionesScript::busca(nombre);
        if (!f)
            return {};
        QVariantList args = argumentos;
        QVariant resultado;
        // A function's error becomes the script's, so the report stops with its text
        // instead of a C++ exception unwinding through the script engine.
        try {
            f->ejecuta(args, resultado);
        } catch (const fb::Error &e) {
            js->throwError(e.message());
            return {};
        } catch (const std::exception &e) {
            js->throwError(QString::fromLocal8Bit(e.what()));
            return {};
        }
        QVariantList r{resultado};
        r.append(args);
        return r;
    }
};

// Lays a report out into pages: one pass over the rows, with the page numbers
// filled in at the end.
class Maquetador
{
public:
    explicit Maquetador(Reporte &r)
        : m_r(r)
        , m_p(r.m_plantilla)
    {}

    bool corre(QString *error);

private:
    void abreDatos(fb::Transaction *tr);
    void preparaScripts();
    QJSValue llamaScript(const QString &funcion, const QJSValueList &args);
    QVariant campo(const QString &nombre);
    void colocaBanda(const Banda &b, int nivelGrupo = -1);
    void colocaElemento(const Elemento &e, double y0, TipoBanda tipoBanda, int nivelGrupo);
    void nuevaHoja();
    void cierraHoja();
    double fondoUtil() const;
    void compruebaScript(const QJSValue &v);

    Reporte &m_r;
    const Plantilla &m_p;
    Documento m_doc;
    std::vector<Fuente> m_fuentes;
    int m_detalle = -1; // index in m_fuentes of the view that drives the detail
    std::unique_ptr<Cursor> m_cursorPropio;
    Cursor *m_cursor = nullptr;
    QHash<QString, std::pair<int, int>> m_resueltos;

    // Page state.
    double m_y = 0;
    bool m_hojaAbierta = false;
    QList<int> m_numerosPagina; // primitives to fill: index of the page, of the primitive
    QList<std::pair<int, int>> m_pendientes;
    QList<QString> m_formatosPagina;

    // Totals: one accumulator per group level, one per page, one for the report.
    struct Acumulador
    {
        QHash<QString, double> sumas;
        int cuenta = 0;
    };
    QList<Acumulador> m_grupos;
    Acumulador m_pagina, m_total;
    QStringList m_camposSumados;

    // Scripts.
    std::unique_ptr<ContextoScript> m_ctx; // outlives the engine that wraps it
    std::unique_ptr<QJSEngine> m_js;
    QHash<QString, QJSValue> m_expresiones;
    QHash<QString, QImage> m_imagenes;
    QString m_errorScript;
};

void Maquetador::abreDatos(fb::Transaction *tr)
{
    auto abre = [&](const TextoSql &t, const QString &vista) {
        Fuente f;
        f.nombre = t.nombre.isEmpty() ? vista : t.nombre;
        const bool esDetalle
            = m_detalle < 0
              && vista.compare(m_p.vistaDetalle.isEmpty() ? m_p.vistas.constFirst().nombre
                                                          : m_p.vistaDetalle,
                               Qt::CaseInsensitive)
                     == 0
              && &t == &m_p.vista(vista)->principal;
        Cursor *c = nullptr;
        std::unique_ptr<Cursor> propio;
        auto dado = m_r.m_cursores.find(f.nombre.toUpper());
        if (dado != m_r.m_cursores.end()) {
            c = dado->second.get();
        } else if (!t.sql.isEmpty()) {
            if (!m_r.m_db)
                throw fb::Error(QStringLiteral("El reporte no tiene base de datos."));
            propio = std::make_unique<CursorQuery>(m_r.m_db, tr, t.sql, m_r.m_parametros);
            c = propio.get();
        }
        if (c) {
            c->abre();
            f.campos = c->campos();
            if (!c->eof()) {
                for (int i = 0; i < f.campos.size(); ++i)
                    f.fila << c->valor(i);
            }
        }
        if (esDetalle) {
            m_detalle = int(m_fuentes.size());
            m_cursor = c;
            m_cursorPropio = std::move(propio);
        }
        m_fuentes.push_back(f);
    };
    for (const Vista &v : m_p.vistas) {
        for (const TextoSql &c : v.consultas)
            abre(c, v.nombre);
        abre(v.principal, v.nombre);
    }
}

QVariant Maquetador::campo(const QString &nombre)
{
    auto it = m_resueltos.constFind(nombre);
    if (it == m_resueltos.constEnd()) {
        std::pair<int, int> donde{-1, -1};
        const qsizetype punto = nombre.lastIndexOf(u'.');
        const QString vista = punto > 0 ? nombre.left(punto) : QString();
        const QString col = punto > 0 ? nombre.mid(punto + 1) : nombre;
        auto busca = [&](int i) {
            const int c = int(m_fuentes[size_t(i)].campos.indexOf(col, 0));
            if (c >= 0)
                return c;
            for (int k = 0; k < m_fuentes[size_t(i)].campos.size(); ++k) {
                if (m_fuentes[size_t(i)].campos[k].compare(col, Qt::CaseInsensitive) == 0)
                    return k;
            }
            return -1;
        };
        if (!vista.isEmpty()) {
            for (int i = 0; i < int(m_fuentes.size()) && donde.first < 0; ++i) {
                if (m_fuentes[size_t(i)].nombre.compare(vista, Qt::CaseInsensitive) == 0)
                    donde = {i, busca(i)};
            }
        } else {
            if (m_detalle >= 0) {
                const int c = busca(m_detalle);
                if (c >= 0)
                    donde = {m_detalle, c};
            }
            for (int i = 0; i < int(m_fuentes.size()) && donde.second < 0; ++i)
                donde = {i, busca(i)};
        }
        if (donde.first < 0 || donde.second < 0)
            throw fb::Error(
                QStringLiteral("El campo \"%1\" no existe en los datos del reporte.").arg(nombre));
        it = m_resueltos.insert(nombre, donde);
    }
    const QVariantList &fila = m_fuentes[size_t(it->first)].vigente();
    return it->second < fila.size() ? fila.at(it->second) : QVariant();
}

void Maquetador::compruebaScript(const QJSValue &v)
{
    if (v.isError()) {
        throw fb::Error(QStringLiteral("Error en el script del reporte (línea %1): %2")
                            .arg(v.property(QStringLiteral("lineNumber")).toInt())
                            .arg(v.toString()));
    }
}

void Maquetador::preparaScripts()
{
    bool hace = !m_p.script.isEmpty() || !m_p.alIniciar.isEmpty();
    for (const Banda &b : m_p.bandas) {
        hace = hace || !b.alImprimir.isEmpty();
        for (const Elemento &e : b.elementos)
            hace = hace || !e.alImprimir.isEmpty() || e.tipo == TipoElemento::Expresion;
    }
    if (!hace)
        return;
    m_js = std::make_unique<QJSEngine>();
    m_ctx = std::make_unique<ContextoScript>();
    m_ctx->js = m_js.get();
    QJSEngine::setObjectOwnership(m_ctx.get(), QJSEngine::CppOwnership);
    m_ctx->campo = [this](const QString &n) {
        return campo(n);
    };
    m_ctx->parametro = [this](const QString &n) {
        return m_r.m_parametros.value(n);
    };
    QJSValue g = m_js->globalObject();
    g.setProperty(QStringLiteral("__lar"), m_js->newQObject(m_ctx.get()));
    QString base
        = QStringLiteral("function Campo(n) { return __lar.leeCampo(n); }\n"
                         "function Parametro(n) { return __lar.leeParametro(n); }\n"
                         "function FormatoCampo(n, f) { return __lar.formatoCampo(n, f); }\n"
                         "function FormatoNumero(v, f) { return __lar.formatoNumero(v, f); }\n"
                         "var Reporte = { get pagina() { return __lar.paginaActual(); } };\n");
    // Each registered function becomes a global that calls the bridge and writes
    // its var arguments back into {value: ...} objects.
    for (const FuncionScript &f : FuncionesScript::todas()) {
        QStringList vars;
        for (int i : f.argumentosVar())
            vars << QString::number(i);
        base += QStringLiteral(
                    "function %1() {\n"
                    "  var a = [], vars = [%2];\n"
                    "  for (var i = 0; i < arguments.length; ++i) {\n"
                    "    var x = arguments[i];\n"
                    "    a.push(vars.indexOf(i) >= 0 && x !== null && typeof x === 'object' ? "
                    "x.value : x);\n"
                    "  }\n"
                    "  var r = __lar.llama('%1', a);\n"
                    "  for (var k = 0; k < vars.length; ++k) {\n"
                    "    var j = vars[k];\n"
                    "    if (j < arguments.length && arguments[j] !== null && typeof arguments[j] "
                    "=== 'object') arguments[j].value = r[j + 1];\n"
                    "  }\n"
                    "  return r[0];\n"
                    "}\n")
                    .arg(f.nombre, vars.join(u','));
    }
    compruebaScript(m_js->evaluate(base, QStringLiteral("base")));
    compruebaScript(m_js->evaluate(m_p.script, QStringLiteral("script")));
}

QJSValue Maquetador::llamaScript(const QString &funcion, const QJSValueList &args)
{
    QJSValue f = m_js->globalObject().property(funcion);
    if (!f.isCallable()) {
        throw fb::Error(
            QStringLiteral("El script del reporte no tiene la función \"%1\".").arg(funcion));
    }
    const QJSValue r = f.call(args);
    compruebaScript(r);
    return r;
}

double Maquetador::fondoUtil() const
{
    const Banda *pie = m_p.banda(TipoBanda::PiePagina);
    return m_p.pagina.alto - m_p.pagina.margenInf - (pie ? pie->alto : 0);
}

void Maquetador::nuevaHoja()
{
    Hoja h;
    h.tamano = QSizeF(m_p.pagina.ancho, m_p.pagina.alto);
    m_doc.hojas << h;
    m_hojaAbierta = true;
    m_y = m_p.pagina.margenSup;
    m_pagina = {};
    if (m_ctx)
        m_ctx->pagina = int(m_doc.hojas.size());
    if (m_doc.hojas.size() == 1) {
        if (const Banda *t = m_p.banda(TipoBanda::Titulo))
            colocaBanda(*t);
    }
    if (const Banda *e = m_p.banda(TipoBanda::EncabezadoPagina))
        colocaBanda(*e);
}

void Maquetador::cierraHoja()
{
    if (!m_hojaAbierta)
        return;
    if (const Banda *pie = m_p.banda(TipoBanda::PiePagina)) {
        m_y = m_p.pagina.alto - m_p.pagina.margenInf - pie->alto;
        colocaBanda(*pie);
    }
    m_hojaAbierta = false;
}

void Maquetador::colocaBanda(const Banda &b, int nivelGrupo)
{
    double alto = b.alto;
    if (!b.alImprimir.isEmpty()) {
        QJSValue o = m_js->newObject();
        o.setProperty(QStringLiteral("nombre"), b.nombre);
        o.setProperty(QStringLiteral("visible"), true);
        o.setProperty(QStringLiteral("alto"), alto);
        llamaScript(b.alImprimir, {o});
        if (!o.property(QStringLiteral("visible")).toBool())
            return;
        alto = o.property(QStringLiteral("alto")).toNumber();
    }
    const bool fija = b.tipo == TipoBanda::PiePagina || b.tipo == TipoBanda::EncabezadoPagina
                      || b.tipo == TipoBanda::Titulo;
    if (!fija) {
        if (!m_hojaAbierta)
            nuevaHoja();
        // A band taller than a whole page goes where it is, rather than forever
        // onto the next one.
        if (m_y + alto > fondoUtil() + 1e-9 && !m_doc.hojas.last().bandas.isEmpty()
            && m_y > m_p.pagina.margenSup + 1e-9) {
            cierraHoja();
            nuevaHoja();
        }
    }
    Hoja &h = m_doc.hojas.last();
    h.bandas << BandaColocada{b.nombre, b.tipo, m_y, alto};
    for (const Elemento &e : b.elementos)
        colocaElemento(e, m_y, b.tipo, nivelGrupo);
    m_y += alto;
}

void Maquetador::colocaElemento(const Elemento &e, double y0, TipoBanda tipoBanda, int nivelGrupo)
{
    Primitiva p;
    p.rect = QRectF(m_p.pagina.margenIzq + e.x, y0 + e.y, e.ancho, e.alto);
    p.fuente = e.fuente;
    p.puntos = e.puntos;
    p.negrita = e.negrita;
    p.cursiva = e.cursiva;
    p.alineacion = e.alineacion;
    p.grosor = e.grosor;
    p.relleno = e.relleno;
    p.color = e.color;
    p.fondo = e.fondo;
    p.elemento = e.nombre;
    p.formato = e.formato;
    bool numeroPagina = false;
    switch (e.tipo) {
    case TipoElemento::Texto:
        p.texto = e.texto;
        break;
    case TipoElemento::Campo:
        p.valor = campo(e.texto);
        p.texto = textoValor(p.valor, e.formato);
        break;
    case TipoElemento::Expresion: {
        auto it = m_expresiones.find(e.texto);
        if (it == m_expresiones.end()) {
            QJSValue f = m_js->evaluate(
                QStringLiteral("(function() { return (%1); })").arg(e.texto), e.nombre);
            compruebaScript(f);
            it = m_expresiones.insert(e.texto, f);
        }
        const QJSValue v = it->call();
        compruebaScript(v);
        if (!v.isUndefined() && !v.isNull())
            p.valor = v.toVariant();
        p.texto = textoValor(p.valor, e.formato);
        break;
    }
    case TipoElemento::Linea:
        p.tipo = Primitiva::Tipo::Linea;
        break;
    case TipoElemento::Rectangulo:
        p.tipo = Primitiva::Tipo::Rectangulo;
        break;
    case TipoElemento::Imagen: {
        p.tipo = Primitiva::Tipo::Imagen;
        auto it = m_imagenes.find(e.texto);
        if (it == m_imagenes.end())
            it = m_imagenes.insert(e.texto, cargaImagen(e.texto));
        p.imagen = *it;
        break;
    }
    case TipoElemento::Total: {
        const Acumulador *a = &m_total;
        if (tipoBanda == TipoBanda::PiePagina)
            a = &m_pagina;
        else if (nivelGrupo >= 0)
            a = &m_grupos[nivelGrupo];
        if (e.funcion == Funcion::Cuenta)
            p.valor = a->cuenta;
        else
            p.valor = a->sumas.value(e.texto.toUpper());
        p.texto = textoValor(p.valor, e.formato);
        break;
    }
    case TipoElemento::NumPagina:
        numeroPagina = true;
        break;
    }
    if (!e.alImprimir.isEmpty()) {
        QJSValue o = m_js->newObject();
        o.setProperty(QStringLiteral("nombre"), e.nombre);
        o.setProperty(QStringLiteral("texto"), p.texto);
        o.setProperty(QStringLiteral("visible"), true);
        o.setProperty(QStringLiteral("imagen"), QString());
        llamaScript(e.alImprimir, {o});
        if (!o.property(QStringLiteral("visible")).toBool())
            return;
        const QString texto = o.property(QStringLiteral("texto")).toString();
        if (texto != p.texto) {
            p.texto = texto;
            p.valor = QVariant();
        }
        // A picture filled by the script: an image a registered function made (a QR
        // code), or a file or base64 PNG data.
        const QJSValue img = o.property(QStringLiteral("imagen"));
        const QVariant v = img.toVariant();
        if (p.tipo == Primitiva::Tipo::Imagen && v.metaType() == QMetaType::fromType<QImage>())
            p.imagen = v.value<QImage>();
        else if (p.tipo == Primitiva::Tipo::Imagen && !img.toString().isEmpty())
            p.imagen = cargaImagen(img.toString());
    }
    Hoja &h = m_doc.hojas.last();
    if (numeroPagina) {
        m_pendientes << std::pair<int, int>(int(m_doc.hojas.size()) - 1, int(h.primitivas.size()));
        m_formatosPagina << e.texto;
    }
    h.primitivas << p;
}

bool Maquetador::corre(QString *error)
{
    fb::Transaction tr(m_r.m_db);
    try {
        if (!m_p.vistas.isEmpty())
            abreDatos(&tr);
        preparaScripts();
        if (!m_p.alIniciar.isEmpty())
            llamaScript(m_p.alIniciar, {});

        const QStringList grupos = m_p.grupos();
        m_grupos.resize(grupos.size());
        for (const Banda &b : m_p.bandas) {
            for (const Elemento &e : b.elementos) {
                if (e.tipo == TipoElemento::Total && e.funcion == Funcion::Suma
                    && !m_camposSumados.contains(e.texto.toUpper()))
                    m_camposSumados << e.texto.toUpper();
            }
        }
        const Banda *detalle = m_p.banda(TipoBanda::Detalle);

        nuevaHoja();
        if (m_cursor && detalle) {
            Fuente &f = m_fuentes[size_t(m_detalle)];
            QVariantList claves(grupos.size());
            bool primera = true;
            auto pies = [&](int desde) {
                f.usarAnterior = true;
                for (int g = int(grupos.size()) - 1; g >= desde; --g) {
                    if (const Banda *b = m_p.banda(TipoBanda::PieGrupo, grupos[g]))
                        colocaBanda(*b, g);
                }
                f.usarAnterior = false;
            };
            QList<int> sumados;
            for (const QString &c : m_camposSumados)
                sumados << int(f.campos.indexOf(c));
            for (int i = 0; i < sumados.size(); ++i) {
                if (sumados[i] < 0) {
                    for (int k = 0; k < f.campos.size(); ++k) {
                        if (f.campos[k].compare(m_camposSumados[i], Qt::CaseInsensitive) == 0)
                            sumados[i] = k;
                    }
                }
            }
            while (!m_cursor->eof()) {
                if (!primera) {
                    f.anterior = f.fila;
                    for (int i = 0; i < f.campos.size(); ++i)
                        f.fila[i] = m_cursor->valor(i);
                }
                // The outermost group whose key changed closes the inner ones too.
                int cambio = primera ? 0 : -1;
                for (int g = 0; g < grupos.size(); ++g) {
                    const QVariant k = campo(grupos[g]);
                    if (!primera && cambio < 0 && k != claves[g])
                        cambio = g;
                    claves[g] = k;
                }
                if (cambio >= 0 && !grupos.isEmpty()) {
                    if (!primera)
                        pies(cambio);
                    for (int g = cambio; g < grupos.size(); ++g) {
                        m_grupos[g] = {};
                        if (const Banda *b = m_p.banda(TipoBanda::EncabezadoGrupo, grupos[g]))
                            colocaBanda(*b, g);
                    }
                }
                primera = false;
                // Placed first: a row that opens a new page counts on that page.
                colocaBanda(*detalle);
                for (int i = 0; i < sumados.size(); ++i) {
                    if (sumados[i] < 0)
                        continue;
                    const double v = aDoble(f.fila.value(sumados[i]));
                    const QString &c = m_camposSumados[i];
                    for (Acumulador &a : m_grupos)
                        a.sumas[c] += v;
                    m_pagina.sumas[c] += v;
                    m_total.sumas[c] += v;
                }
                for (Acumulador &a : m_grupos)
                    ++a.cuenta;
                ++m_pagina.cuenta;
                ++m_total.cuenta;
                m_cursor->siguiente();
            }
            if (!primera)
                pies(0);
            f.anterior = f.fila;
            f.usarAnterior = true;
        } else if (detalle && m_p.vistas.isEmpty()) {
            colocaBanda(*detalle);
        }
        if (const Banda *r = m_p.banda(TipoBanda::Resumen))
            colocaBanda(*r);
        cierraHoja();

        const int total = int(m_doc.hojas.size());
        for (int i = 0; i < m_pendientes.size(); ++i) {
            const auto [hoja, prim] = m_pendientes[i];
            m_doc.hojas[hoja].primitivas[prim].texto = m_formatosPagina[i].arg(hoja + 1).arg(total);
        }
    } catch (const fb::Error &e) {
        if (error)
            *error = e.message();
        if (tr.isActive())
            tr.rollback();
        return false;
    } catch (const std::exception &e) {
        if (error)
            *error = QString::fromLocal8Bit(e.what());
        if (tr.isActive())
            tr.rollback();
        return false;
    }
    if (tr.isActive())
        tr.commit();
    m_doc.nombre = m_r.m_nombreDocumento;
    m_r.m_documento = std::move(m_doc);
    return true;
}

Reporte::Reporte() = default;
Reporte::~Reporte() = default;

bool Reporte::cargaTexto(const QByteArray &texto, QString *error)
{
    m_documento = {};
    return leePlantilla(texto, m_plantilla, error);
}

void Reporte::setParametro(const QString &nombre, const QVariant &valor)
{
    m_parametros.insert(nombre, valor);
}

void Reporte::setCursor(const QString &vista, std::unique_ptr<Cursor> cursor)
{
    m_cursores[vista.toUpper()] = std::move(cursor);
}

bool Reporte::genera(QString *error)
{
    m_documento = {};
    Maquetador m(*this);
    return m.corre(error);
}

} // namespace lar::reporte

#include "reporte.moc"
