#include "articulos.h"

#include "core/navegacion.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "toolkit/memtable.h"
#include "toolkit/wordsearch.h"

#include <QElapsedTimer>
#include <QSet>

namespace lar {

void DefineArticulos(MemTable &mArt)
{
    mArt.close();
    mArt.clearFields();
    mArt.addField(QStringLiteral("ARTICULO_ID"), FieldType::Integer);
    mArt.addField(QStringLiteral("CLAVE_ARTICULO"), FieldType::String, 300);
    mArt.addField(QStringLiteral("NOMBRE"), FieldType::String, 100);
    mArt.addField(QStringLiteral("ES_ALMACENABLE"), FieldType::String, 1);
    mArt.addField(QStringLiteral("ES_JUEGO"), FieldType::String, 1);
    mArt.addField(QStringLiteral("ESTATUS"), FieldType::String, 1);
    mArt.addField(QStringLiteral("LINEA"), FieldType::String, 50);
    mArt.addField(QStringLiteral("UNIDAD_VENTA"), FieldType::String, 5);
    mArt.addField(QStringLiteral("UNIDAD_COMPRA"), FieldType::String, 5);
    mArt.addField(QStringLiteral("FECHA_ULTIMA_COMPRA"), FieldType::Date);
    mArt.addField(QStringLiteral("GRUPO"), FieldType::String, 50);
    FieldDef puntos{QStringLiteral("PUNTOS"), FieldType::Currency};
    puntos.displayFormat = QStringLiteral("0;-0");
    mArt.addField(puntos);
    FieldDef valor{QStringLiteral("VALOR_PUNTOS"), FieldType::Currency};
    valor.displayFormat = QStringLiteral("0;,0");
    mArt.addField(valor);
    FieldDef exis{QStringLiteral("Existencia"), FieldType::Float};
    exis.displayFormat = QStringLiteral(",0.00;-,0.00");
    mArt.addField(exis);
}

void IndexaArticulos(MemTable &mArt)
{
    mArt.addIndex(QStringLiteral("iID"), QStringLiteral("ARTICULO_ID"));
    mArt.addIndex(QStringLiteral("iArticulo"), QStringLiteral("NOMBRE"));
    mArt.addIndex(QStringLiteral("iClave"), QStringLiteral("CLAVE_ARTICULO"));
    mArt.addIndex(QStringLiteral("iLin"), QStringLiteral("LINEA"));
    mArt.addIndex(QStringLiteral("iGrp"), QStringLiteral("GRUPO"));
}

QString TextoEstatus(const QString &estatus)
{
    if (estatus == u"A")
        return QStringLiteral("Activo");
    if (estatus == u"C")
        return QStringLiteral("Susp. compras");
    if (estatus == u"V")
        return QStringLiteral("Susp. ventas");
    if (estatus == u"S")
        return QStringLiteral("Susp. compras y ventas");
    if (estatus == u"B")
        return QStringLiteral("Baja");
    return estatus;
}

namespace {

// The word rule of the lists on a text taken as it is (keys aren't upper-cased).
bool contienePalabras(QStringView texto, const QStringList &palabras)
{
    if (palabras.isEmpty())
        return true;
    if (palabras.size() == 1)
        return !palabras[0].isEmpty() && texto.contains(palabras[0]);
    QString resto = texto.toString();
    for (const QString &p : palabras) {
        if (p.isEmpty())
            return false;
        const qsizetype i = resto.indexOf(p);
        if (i < 0)
            return false;
        resto.remove(i, p.size());
    }
    return true;
}

} // namespace

QString ClaveQueCoincide(const QString &claves, const QStringList &palabras)
{
    const QList<QStringView> partes = QStringView(claves).split(u'^');
    if (palabras.isEmpty())
        return partes.value(0).toString();
    for (QStringView p : partes) {
        if (contienePalabras(p, palabras))
            return p.toString();
    }
    return QString();
}

bool ClavesCoinciden(QStringView claves, const QStringList &palabras)
{
    if (palabras.isEmpty())
        return true;
    qsizetype desde = 0;
    while (desde <= claves.size()) {
        qsizetype hasta = claves.indexOf(u'^', desde);
        if (hasta < 0)
            hasta = claves.size();
        if (contienePalabras(claves.mid(desde, hasta - desde), palabras))
            return true;
        desde = hasta + 1;
    }
    return false;
}

QStringList SqlArticulos(const OpcionesCarga &op)
{
    QStringList s;
    s << QStringLiteral("select");
    if (op.clavesAlternas)
        s << QStringLiteral("   (select list(clave_articulo,'^')");
    else
        s << QStringLiteral("   (select first 1 clave_articulo");
    s << QStringLiteral("    from claves_articulos c")
      << QStringLiteral(
             "      join roles_claves_articulos r on r.rol_clave_art_id=c.rol_clave_art_id")
      << QStringLiteral("    where c.articulo_id=a.articulo_id");
    if (!op.clavesAlternas)
        s << QStringLiteral("    order by r.es_ppal desc");
    s << QStringLiteral("    ) as clave,")
      << QStringLiteral("  a.articulo_id, a.nombre, a.es_almacenable, a.es_juego, a.estatus,")
      << QStringLiteral("  a.unidad_venta, a.unidad_compra,  current_date,")
      << QStringLiteral("  l.nombre, g.nombre,puntos, valor_puntos")
      << QStringLiteral("from articulos a")
      << QStringLiteral("  left join lineas_articulos l on l.linea_articulo_id=a.linea_articulo_id")
      << QStringLiteral("  left join grupos_lineas    g on g.grupo_linea_id=l.grupo_linea_id")
      << QStringLiteral("  left join libres_articulos s on s.articulo_id = a.articulo_id");

    if (!op.agregar) {
        if (op.soloPorPuntos) {
            s << QStringLiteral("where valor_puntos>0 AND valor_puntos<=:puntos")
              << QStringLiteral("AND  a.es_juego='N' AND a.estatus not in ('V','S','B') ");
            if (op.soloNoAlmacenables)
                s << QStringLiteral(" and ES_ALMACENABLE = 'N'");
            if (op.soloAlmacenables)
                s << QStringLiteral(" and ES_ALMACENABLE = 'S'");
        } else {
            if (op.soloNoAlmacenables)
                s << QStringLiteral(" where ES_ALMACENABLE = 'N'");
            if (op.soloAlmacenables)
                s << QStringLiteral(" where ES_ALMACENABLE = 'S'");
        }
        return s;
    }

    s << QStringLiteral("  LEFT JOIN precios_articulos p on p.articulo_id = a.articulo_id")
      << QStringLiteral("  LEFT JOIN elementos_cat_clasif e on e.elemento_id = a.articulo_id")
      << QStringLiteral(
             "  LEFT JOIN clasificadores_cat_valores v on v.valor_clasif_id = e.valor_clasif_id")
      << QStringLiteral(
             "  LEFT JOIN clasificadores_cat  c on c.clasificador_id = v.clasificador_id");
    bool primera = true;
    auto condicion = [&](const QString &c) {
        s << (primera ? QStringLiteral("where ") : QStringLiteral(" and ")) + c;
        primera = false;
    };
    if (op.soloPorPuntos) {
        condicion(QStringLiteral(" valor_puntos>0 AND valor_puntos<=:puntos"));
        condicion(QStringLiteral("  a.es_juego='N' AND a.estatus not in ('V','S','B') "));
    }
    if (op.soloNoAlmacenables)
        condicion(QStringLiteral("  ES_ALMACENABLE = 'N'"));
    if (op.soloAlmacenables)
        condicion(QStringLiteral("  ES_ALMACENABLE = 'S'"));
    const FiltroAgregar &f = *op.agregar;
    if (!f.todos) {
        if (f.porPrecio)
            condicion(QStringLiteral(
                "cast (p.fecha_hora_ult_modif as date) between :fecha1 and :fecha2"));
        // Ids come from the dialog's own lists, never from typed text.
        if (f.porClasificador)
            condicion(QStringLiteral("c.clasificador_id ='%1'").arg(f.clasificadorId));
        if (f.porLinea)
            condicion(QStringLiteral("l.linea_articulo_id ='%1'").arg(f.lineaId));
    }
    return s;
}

QString TextoErrorDatos(const fb::Error &e)
{
    const QString fin = QStringLiteral("\r\n");
    switch (e.iscCode()) {
    case 335544345:
        return QStringLiteral("Conflicto de datos, vuelva a guardar en un momento") + fin
               + e.message();
    case 335544336:
        return QStringLiteral("Bloqueo de datos, vuelva a guardar en un momento") + fin
               + e.message();
    case 335544349:
    case 335544548:
    case 335544665:
        return QStringLiteral("Dato duplicado: ") + fin + e.message();
    case 335544466:
        return QStringLiteral("No fue posible encontrar un valor en los catálogos: ") + fin
               + e.message();
    default:
        return QStringLiteral("Error ") + QString::number(e.iscCode()) + fin + e.message();
    }
}

ArticulosPuntos::ArticulosPuntos(Sesion &sesion)
    : m_s(sesion)
{}

int ArticulosPuntos::carga(MemTable &mArt,
                           const OpcionesCarga &op,
                           const std::function<void(int)> &avance)
{
    fb::TransactionGuard guardia(m_s.fbUpdateTrans());
    fb::Query q(&m_s.fbDatabase(), &m_s.fbUpdateTrans());
    q.setTrimChars(true);
    q.setSql(SqlArticulos(op).join(u'\n'));
    if (op.soloPorPuntos)
        q.bind(QStringLiteral("puntos"), op.puntosDisponibles);
    if (op.agregar && !op.agregar->todos && op.agregar->porPrecio) {
        q.bind(QStringLiteral("fecha1"), op.agregar->fecha1);
        q.bind(QStringLiteral("fecha2"), op.agregar->fecha2);
    }
    q.open();

    mArt.close();
    mArt.deleteIndexes();
    mArt.setIndexFieldNames(QString());
    mArt.open();

    // The stock runs on the read transaction, prepared once for the whole load.
    std::unique_ptr<fb::Query> spExiste;
    if (op.almacenId > 0) {
        spExiste = std::make_unique<fb::Query>(&m_s.fbDatabase(), &m_s.fbViewTrans());
        spExiste->setSql(
            QStringLiteral("EXECUTE PROCEDURE LAR_CALC_ARTALM1( :V_ARTICULO_ID, :V_ALMACEN_ID);"));
        spExiste->prepare();
        spExiste->bind(QStringLiteral("V_ALMACEN_ID"), op.almacenId);
    }

    // Flags, status, units, lines and groups repeat row after row: the rows share one
    // copy of each text, which leaves less to hold and less to free at the next load.
    QSet<QString> textos;
    auto compartido = [&textos](const fb::Field &f) {
        if (f.isNull())
            return QVariant();
        const QString t = f.toString();
        auto it = textos.constFind(t);
        if (it == textos.cend())
            it = textos.insert(t);
        return QVariant(*it);
    };

    QSet<int> vistos;
    QElapsedTimer reloj;
    reloj.start();
    qint64 umbral = 3000;
    int leidos = 0;
    int guardados = 0;
    QVariantList fila;
    fila.reserve(art::Existencia + 1);
    for (; !q.eof(); q.next()) {
        ++leidos;
        const int id = q.field(1).toInt();
        const QVariant almacenable = compartido(q.field(3));
        const bool esAlmacenable = almacenable.toString() == u"S";
        // The joins of the bulk add can repeat an article.
        if (op.agregar && vistos.contains(id))
            continue;
        double existencia = 0;
        if (spExiste && esAlmacenable) {
            spExiste->bind(QStringLiteral("V_ARTICULO_ID"), id);
            spExiste->execute();
            existencia = spExiste->field(2).toDouble();
        }
        bool queda = true;
        if (op.soloConExistencia)
            queda = existencia > 0;
        else if (op.soloExistentes)
            queda = existencia > 0 || !esAlmacenable;
        if (queda) {
            if (op.agregar)
                vistos.insert(id);
            fila.clear();
            fila << id << q.field(0).toVariant() << q.field(2).toVariant() << almacenable
                 << compartido(q.field(4)) << compartido(q.field(5)) << compartido(q.field(9))
                 << compartido(q.field(6)) << compartido(q.field(7)) << q.field(8).toVariant()
                 << compartido(q.field(10));
            if (op.agregar && op.agregar->puntos)
                fila << *op.agregar->puntos;
            else
                fila << q.field(11).toVariant();
            if (op.agregar && op.agregar->valorPuntos)
                fila << *op.agregar->valorPuntos;
            else
                fila << q.field(12).toVariant();
            fila << existencia;
            mArt.appendRecord(std::move(fila));
            ++guardados;
        }
        if (leidos % 35 == 0 && reloj.elapsed() > umbral) {
            if (avance)
                avance(leidos);
            umbral = 600;
            reloj.restart();
        }
    }
    q.close();
    IndexaArticulos(mArt);
    guardia.commit();
    return guardados;
}

int ArticulosPuntos::buscaId(const QString &sql, const QString &valor)
{
    fb::TransactionGuard guardia(m_s.fbUpdateTrans());
    fb::Query q(&m_s.fbDatabase(), &m_s.fbUpdateTrans());
    q.setSql(sql);
    q.bind(0, valor);
    q.open();
    const int id = q.eof() ? 0 : q.field(0).toInt();
    q.close();
    guardia.commit();
    return id;
}

int ArticulosPuntos::articuloPorNombre(const QString &nombre)
{
    return buscaId(QStringLiteral("select articulo_id\nfrom articulos\nwhere nombre=:nom"), nombre);
}

int ArticulosPuntos::articuloPorClave(const QString &clave)
{
    return buscaId(
        QStringLiteral("select articulo_id\nfrom claves_articulos\nwhere clave_articulo=:nom"),
        clave);
}

ArticulosPuntos::Agrega ArticulosPuntos::agrega(MemTable &mArt,
                                                const OpcionesCarga &op,
                                                const QString &clave,
                                                int articuloId,
                                                const QVariant &valorPuntos,
                                                const QVariant &puntos)
{
    if (articuloId == 0)
        articuloId = buscaId(QStringLiteral("SELECT articulo_id\nFROM claves_articulos\n"
                                            "WHERE clave_articulo = :clave_articulo"),
                             clave);
    if (articuloId == 0)
        return Agrega::NoEncontrado;

    OpcionesCarga una = op;
    una.soloPorPuntos = false;
    una.soloAlmacenables = una.soloNoAlmacenables = false;
    una.agregar.reset();
    fb::TransactionGuard guardia(m_s.fbUpdateTrans());
    fb::Query q(&m_s.fbDatabase(), &m_s.fbUpdateTrans());
    q.setTrimChars(true);
    q.setSql(SqlArticulos(una).join(u'\n') + QStringLiteral("\n Where a.articulo_id =:Articulo"));
    q.bind(QStringLiteral("Articulo"), articuloId);
    q.open();
    if (q.eof())
        return Agrega::SinRenglon;
    if (!mArt.isActive())
        mArt.open();
    mArt.appendRecord({articuloId,
                       q.field(0).toVariant(),
                       q.field(2).toVariant(),
                       q.field(3).toVariant(),
                       q.field(4).toVariant(),
                       q.field(5).toVariant(),
                       q.field(9).toVariant(),
                       q.field(6).toVariant(),
                       q.field(7).toVariant(),
                       q.field(8).toVariant(),
                       q.field(10).toVariant(),
                       puntos,
                       valorPuntos,
                       0.0});
    q.close();
    guardia.commit();
    // The indexes stand as at the end of a load.
    mArt.deleteIndexes();
    IndexaArticulos(mArt);
    return Agrega::Agregado;
}

std::optional<ArticulosPuntos::Falla> ArticulosPuntos::guarda(MemTable &mArt)
{
    try {
        mArt.checkBrowseMode();
        fb::TransactionGuard guardia(m_s.fbUpdateTrans());
        fb::Query q(&m_s.fbDatabase(), &m_s.fbUpdateTrans());
        q.setSql(QStringLiteral("UPDATE or INSERT INTO libres_articulos\n"
                                "(articulo_id, puntos, valor_puntos)\n"
                                "VALUES (:articulo_id, :puntos, :valor_puntos)"));
        q.prepare();
        const int n = mArt.recordCount();
        for (int r = 0; r < n; ++r) {
            const QVariant p = mArt.valueAt(r, art::PUNTOS);
            const QVariant v = mArt.valueAt(r, art::VALOR_PUNTOS);
            q.bind(QStringLiteral("articulo_id"), mArt.valueAt(r, art::ARTICULO_ID));
            q.bind(QStringLiteral("puntos"), p.isNull() ? QVariant(0) : p);
            q.bind(QStringLiteral("valor_puntos"), v.isNull() ? QVariant(0) : v);
            q.execute();
        }
        guardia.commit();
        return std::nullopt;
    } catch (const fb::Error &e) {
        if (e.iscCode() != 0)
            return Falla{TextoErrorDatos(e), QStringLiteral("Error de datos")};
        return Falla{e.message(), QStringLiteral("Error")};
    } catch (const std::exception &e) {
        return Falla{TextoExcepcion(e), QStringLiteral("Error")};
    }
}

} // namespace lar
