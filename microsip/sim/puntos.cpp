#include "puntos.h"

#include "inventario_p.h"
#include "sql_p.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

namespace microsip {

namespace {

[[noreturn]] void falla(const QString &mensaje)
{
    throw fb::Error(mensaje);
}

void requiereEsquema(fb::Database &db, fb::Transaction &tr, const QString &tabla)
{
    if (!detail::existeTabla(db, tr, tabla))
        falla(QStringLiteral("La empresa no tiene el esquema de Puntos Larvenos (falta %1): "
                             "actualice la base de datos primero.")
                  .arg(tabla));
}

int carpeta(fb::Database &db, fb::Transaction &tr, const QString &nombre, int padre)
{
    fb::Query q(&db, &tr);
    q.setSql(
        QStringLiteral("SELECT REGISTRO_ID FROM LAR_REGISTRO WHERE NOMBRE = :n AND PADRE_ID = :p"));
    q.bind(QStringLiteral("n"), nombre);
    q.bind(QStringLiteral("p"), padre);
    q.open();
    if (!q.eof())
        return q.field(0).toInt();
    q.close();
    q.setSql(QStringLiteral("INSERT INTO LAR_REGISTRO (NOMBRE, TIPO, PADRE_ID, VALOR)"
                            " VALUES (:n, 'F', :p, NULL) RETURNING REGISTRO_ID"));
    q.bind(QStringLiteral("n"), nombre);
    q.bind(QStringLiteral("p"), padre);
    q.execute();
    return q.field(0).toInt();
}

int carpetaPuntos(fb::Database &db, fb::Transaction &tr)
{
    requiereEsquema(db, tr, QStringLiteral("LAR_REGISTRO"));
    return carpeta(
        db, tr, QStringLiteral("Puntos"), carpeta(db, tr, QStringLiteral("PuntosLar"), 0));
}

void escribe(fb::Database &db, fb::Transaction &tr, const ValoresPuntos &valores)
{
    const int padre = carpetaPuntos(db, tr);
    fb::Query upd(&db, &tr);
    upd.setSql(QStringLiteral("UPDATE LAR_REGISTRO SET TIPO = 'V', VALOR = :v"
                              " WHERE NOMBRE = :n AND PADRE_ID = :p"));
    fb::Query ins(&db, &tr);
    ins.setSql(QStringLiteral("INSERT INTO LAR_REGISTRO (NOMBRE, TIPO, PADRE_ID, VALOR)"
                              " VALUES (:n, 'V', :p, :v)"));
    for (const auto &[nombre, valor] : valores) {
        if (nombre.trimmed().isEmpty() || nombre.size() > 50)
            falla(QStringLiteral("El nombre de ajuste '%1' no es válido.").arg(nombre));
        if (valor.size() > 100)
            falla(QStringLiteral("El valor de '%1' pasa de 100 caracteres.").arg(nombre));
        for (fb::Query *q : {&upd, &ins}) {
            q->bind(QStringLiteral("n"), nombre);
            q->bind(QStringLiteral("p"), padre);
            q->bind(QStringLiteral("v"), valor);
        }
        if (upd.execute() == 0)
            ins.execute();
    }
}

ValoresPuntos apagado()
{
    return {{QStringLiteral("Puntos General Activo"), QStringLiteral("N")},
            {QStringLiteral("Puntos Ventas"), QStringLiteral("N")},
            {QStringLiteral("Puntos Extra Articulos Activo"), QStringLiteral("N")},
            {QStringLiteral("Puntos Importe Activo"), QStringLiteral("N")},
            {QStringLiteral("Puntos Importe Linea"), QStringLiteral("N")},
            {QStringLiteral("Tarjeta de puntos"), QStringLiteral("N")},
            {QStringLiteral("No. de vtas"), QStringLiteral("0")}};
}

// Later pairs win over earlier ones of the same name.
ValoresPuntos junta(ValoresPuntos base, const ValoresPuntos &encima)
{
    for (const auto &[n, v] : encima) {
        bool puesto = false;
        for (auto &par : base) {
            if (par.first == n) {
                par.second = v;
                puesto = true;
            }
        }
        if (!puesto)
            base << qMakePair(n, v);
    }
    return base;
}

const ValoresPuntos kActivo{{QStringLiteral("Puntos General Activo"), QStringLiteral("S")},
                            {QStringLiteral("Puntos Ventas"), QStringLiteral("S")}};

// The demo: every way of earning a customer can see, and what redemption needs.
ValoresPuntos demo(fb::Database &db, fb::Transaction &tr)
{
    ValoresPuntos v = junta(
        junta(apagado(), kActivo),
        {{QStringLiteral("Puntos Extra Articulos Activo"), QStringLiteral("S")},
         {QStringLiteral("Puntos Importe Activo"), QStringLiteral("S")},
         {QStringLiteral("Factor Total Importe Puntos"), QStringLiteral("1")},
         {QStringLiteral("Factor Cantidad Pesos"), QStringLiteral("20")},
         {QStringLiteral("Tarjeta de puntos"), QStringLiteral("S")},
         {QStringLiteral("Folio Puntos"), QStringLiteral("P00000001")},
         {QStringLiteral("Folio puntos empleados"), QStringLiteral("E00000001")},
         {QStringLiteral("Lista por clientes"), QStringLiteral("S")},
         {QStringLiteral("Lista por empleados"), QStringLiteral("N")},
         {QStringLiteral("Artículos sin existencia"), QStringLiteral("N")},
         {QStringLiteral("ArtAlmacenables"), QStringLiteral("N")},
         {QStringLiteral("Reiniciar Puntos Automaticamente"), QStringLiteral("N")},
         {QStringLiteral("Dias antes del reinicio para enviar correo"), QStringLiteral("0")},
         {QStringLiteral("UsarArtBoleto"), QStringLiteral("N")},
         {QStringLiteral("ArtBoleto"), QStringLiteral("0")}});
    // The exit concept of redemptions: the extension's own, with a folio series.
    int concepto = detail::conceptoPorNombre(db, tr, QStringLiteral("Salida por puntos"));
    if (concepto > 0) {
        fb::Query q(&db, &tr);
        q.setSql(
            detail::tieneFoliosConceptos(db, tr)
                ? QStringLiteral("SELECT COUNT(*) FROM FOLIOS_CONCEPTOS WHERE CONCEPTO_ID = :c")
                : QStringLiteral("SELECT COUNT(*) FROM CONCEPTOS_IN WHERE CONCEPTO_IN_ID = :c"
                                 " AND COALESCE(TRIM(SIG_FOLIO), '') <> ''"));
        q.bind(QStringLiteral("c"), concepto);
        q.open();
        const bool conSerie = q.field(0).toInt() > 0;
        q.close();
        if (!conSerie)
            detail::serieConcepto(db, tr, concepto, QStringLiteral("SP"), 1);
    } else {
        concepto = detail::conceptoPorNombre(db, tr, QStringLiteral("Salida por consumo interno"));
    }
    if (concepto > 0)
        v << qMakePair(QStringLiteral("Concepto Salida Puntos"), QString::number(concepto));
    if (const int almacen = detail::almacenPredeterminado(db, tr); almacen > 0)
        v << qMakePair(QStringLiteral("Almacen Puntos"), QString::number(almacen));

    // Points by article for a fifth of the active articles, a price in points for a
    // third of the stocked ones (about their price in pesos).
    requiereEsquema(db, tr, QStringLiteral("LAR_PUNTOS"));
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral(
        "MERGE INTO LIBRES_ARTICULOS L"
        " USING (SELECT A.ARTICULO_ID,"
        "   IIF(MOD(A.ARTICULO_ID, 5) = 0, 1 + MOD(A.ARTICULO_ID / 5, 5), NULL) AS PUNTOS,"
        "   IIF(MOD(A.ARTICULO_ID, 3) = 0 AND A.ES_ALMACENABLE = 'S',"
        "     CEILING((SELECT FIRST 1 P.PRECIO FROM PRECIOS_ARTICULOS P"
        "              WHERE P.ARTICULO_ID = A.ARTICULO_ID ORDER BY P.PRECIO_EMPRESA_ID)), NULL)"
        "     AS VALOR_PUNTOS"
        "   FROM ARTICULOS A"
        "   WHERE A.ESTATUS = 'A' AND A.ES_JUEGO = 'N'"
        "     AND (MOD(A.ARTICULO_ID, 5) = 0 OR MOD(A.ARTICULO_ID, 3) = 0)) S"
        " ON L.ARTICULO_ID = S.ARTICULO_ID"
        " WHEN MATCHED THEN UPDATE SET PUNTOS = COALESCE(S.PUNTOS, L.PUNTOS),"
        "   VALOR_PUNTOS = COALESCE(S.VALOR_PUNTOS, L.VALOR_PUNTOS)"
        " WHEN NOT MATCHED THEN INSERT (ARTICULO_ID, PUNTOS, VALOR_PUNTOS)"
        "   VALUES (S.ARTICULO_ID, S.PUNTOS, S.VALOR_PUNTOS)"));
    q.execute();
    // A few customers on the black list.
    q.setSql(QStringLiteral("UPDATE LIBRES_CLIENTES SET ACTIVO_PUNTOS = 'N'"
                            " WHERE MOD(CLIENTE_ID, 50) = 7"));
    q.execute();
    return v;
}

} // namespace

QStringList escenariosPuntos()
{
    return {QStringLiteral("apagado"),
            QStringLiteral("articulo"),
            QStringLiteral("importe"),
            QStringLiteral("linea"),
            QStringLiteral("tarjeta"),
            QStringLiteral("demo")};
}

void aplicaEscenario(fb::Database &empresa, const QString &escenario, const ValoresPuntos &extra)
{
    fb::Transaction tr(&empresa);
    fb::TransactionGuard guardia(tr);
    requiereEsquema(empresa, tr, QStringLiteral("LAR_REGISTRO"));
    ValoresPuntos v;
    const QString e = escenario.trimmed().toLower();
    if (e == u"apagado") {
        v = apagado();
    } else if (e == u"articulo") {
        v = junta(junta(apagado(), kActivo),
                  {{QStringLiteral("Puntos Extra Articulos Activo"), QStringLiteral("S")}});
    } else if (e == u"importe") {
        v = junta(junta(apagado(), kActivo),
                  {{QStringLiteral("Puntos Importe Activo"), QStringLiteral("S")},
                   {QStringLiteral("Factor Total Importe Puntos"), QStringLiteral("1")},
                   {QStringLiteral("Factor Cantidad Pesos"), QStringLiteral("10")}});
    } else if (e == u"linea") {
        v = junta(junta(apagado(), kActivo),
                  {{QStringLiteral("Puntos Importe Linea"), QStringLiteral("S")}});
        requiereEsquema(empresa, tr, QStringLiteral("LAR_PUNTOSLINEAS"));
        // One point for each 50 pesos of the first three product lines.
        fb::Query q(&empresa, &tr);
        q.setSql(QStringLiteral("DELETE FROM LAR_PUNTOSLINEAS"));
        q.execute();
        q.setSql(QStringLiteral("INSERT INTO LAR_PUNTOSLINEAS (LINEA_ID, PUNTOS, IMPORTE)"
                                " SELECT FIRST 3 LINEA_ARTICULO_ID, 1, 50 FROM LINEAS_ARTICULOS"
                                " ORDER BY LINEA_ARTICULO_ID"));
        q.execute();
    } else if (e == u"tarjeta") {
        v = junta(junta(apagado(), kActivo),
                  {{QStringLiteral("Puntos Extra Articulos Activo"), QStringLiteral("S")},
                   {QStringLiteral("Puntos Importe Activo"), QStringLiteral("S")},
                   {QStringLiteral("Factor Total Importe Puntos"), QStringLiteral("1")},
                   {QStringLiteral("Factor Cantidad Pesos"), QStringLiteral("10")},
                   {QStringLiteral("Tarjeta de puntos"), QStringLiteral("S")}});
    } else if (e == u"demo") {
        v = demo(empresa, tr);
    } else {
        falla(QStringLiteral("El escenario '%1' no existe: %2.")
                  .arg(escenario, escenariosPuntos().join(QStringLiteral(", "))));
    }
    escribe(empresa, tr, junta(v, extra));
    guardia.commit();
}

void escribePuntos(fb::Database &empresa, const ValoresPuntos &valores)
{
    fb::Transaction tr(&empresa);
    fb::TransactionGuard guardia(tr);
    escribe(empresa, tr, valores);
    guardia.commit();
}

std::optional<QString> leePuntos(fb::Database &empresa, const QString &nombre)
{
    fb::Transaction tr(&empresa);
    fb::TransactionGuard guardia(tr);
    requiereEsquema(empresa, tr, QStringLiteral("LAR_REGISTRO"));
    fb::Query q(&empresa, &tr);
    q.setSql(QStringLiteral(
        "SELECT valor FROM LAR_REGISTRO WHERE TIPO = 'V' and nombre = :n and padre_id ="
        " (select registro_id from LAR_REGISTRO where nombre = 'Puntos' AND tipo = 'F' and"
        " padre_id = (select registro_id from LAR_REGISTRO where NOMBRE = 'PuntosLar' and"
        " padre_id = 0))"));
    q.bind(QStringLiteral("n"), nombre);
    q.open();
    std::optional<QString> v;
    if (!q.eof())
        v = q.field(0).toString();
    q.close();
    guardia.commit();
    return v;
}

void puntosArticulo(fb::Database &empresa,
                    int articuloId,
                    std::optional<int> puntos,
                    std::optional<int> valorPuntos)
{
    fb::Transaction tr(&empresa);
    fb::TransactionGuard guardia(tr);
    if (!detail::existeCampo(
            empresa, tr, QStringLiteral("LIBRES_ARTICULOS"), QStringLiteral("PUNTOS")))
        falla(QStringLiteral("La empresa no tiene el esquema de Puntos Larvenos (falta "
                             "LIBRES_ARTICULOS.PUNTOS): actualice la base de datos primero."));
    if ((puntos && *puntos < 0) || (valorPuntos && *valorPuntos < 0))
        falla(QStringLiteral("Los puntos no pueden ser negativos."));
    fb::Query q(&empresa, &tr);
    q.setSql(QStringLiteral("SELECT A.ARTICULO_ID, L.PUNTOS, L.VALOR_PUNTOS FROM ARTICULOS A"
                            " LEFT JOIN LIBRES_ARTICULOS L ON L.ARTICULO_ID = A.ARTICULO_ID"
                            " WHERE A.ARTICULO_ID = :a"));
    q.bind(QStringLiteral("a"), articuloId);
    q.open();
    if (q.eof())
        falla(QStringLiteral("No existe el artículo %1.").arg(articuloId));
    const QVariant actualPuntos = q.field(1).toVariant();
    const QVariant actualValor = q.field(2).toVariant();
    q.close();
    q.setSql(
        QStringLiteral("UPDATE or INSERT INTO libres_articulos (articulo_id, puntos, valor_puntos)"
                       " VALUES (:articulo_id, :puntos, :valor_puntos)"));
    q.bind(QStringLiteral("articulo_id"), articuloId);
    q.bind(QStringLiteral("puntos"), puntos ? QVariant(*puntos) : actualPuntos);
    q.bind(QStringLiteral("valor_puntos"), valorPuntos ? QVariant(*valorPuntos) : actualValor);
    q.execute();
    guardia.commit();
}

int articuloPorClave(fb::Database &empresa, const QString &clave)
{
    fb::Transaction tr(&empresa);
    fb::TransactionGuard guardia(tr);
    fb::Query q(&empresa, &tr);
    q.setSql(
        QStringLiteral("SELECT FIRST 1 ARTICULO_ID FROM CLAVES_ARTICULOS WHERE CLAVE_ARTICULO = :c"
                       " ORDER BY CLAVE_ARTICULO_ID"));
    q.bind(QStringLiteral("c"), clave);
    q.open();
    if (q.eof())
        falla(QStringLiteral("No existe el artículo con clave '%1'.").arg(clave));
    const int id = q.field(0).toInt();
    q.close();
    guardia.commit();
    return id;
}

void lineasPuntos(fb::Database &empresa, const QList<LineaPuntos> &lineas)
{
    fb::Transaction tr(&empresa);
    fb::TransactionGuard guardia(tr);
    requiereEsquema(empresa, tr, QStringLiteral("LAR_PUNTOSLINEAS"));
    fb::Query q(&empresa, &tr);
    q.setSql(QStringLiteral("DELETE FROM LAR_PUNTOSLINEAS"));
    q.execute();
    q.setSql(QStringLiteral("INSERT INTO LAR_PUNTOSLINEAS (LINEA_ID,PUNTOS,IMPORTE)"
                            " values(:linea,:puntos,:importe)"));
    for (const LineaPuntos &l : lineas) {
        q.bind(QStringLiteral("linea"), l.lineaId);
        q.bind(QStringLiteral("puntos"), l.puntos);
        q.bind(QStringLiteral("importe"), l.importe);
        q.execute();
    }
    guardia.commit();
}

} // namespace microsip
