#pragma once

// A company with a handful of articles whose keys, lines, status, points and
// stock the article suites know by heart.

#include "catalog/articulos.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "toolkit/memtable.h"

#include <QStringList>

namespace lartest {

inline void ejecuta(lar::Sesion &s, const QString &sql)
{
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(sql);
    q.execute();
    s.UpdateCommit();
}

// Articles: id, name, storable, status, points, value, keys (principal first), stock.
struct Art
{
    int id;
    QString nombre, almacenable, estatus;
    int puntos, valor;
    QStringList claves;
    int existencia;
};

inline const QList<Art> &articulos()
{
    using namespace Qt::StringLiterals;
    static const QList<Art> a{
        {501, u"BANANA TABASCO"_s, u"S"_s, u"A"_s, 1, 10, {u"ABC"_s, u"XYZ"_s}, 5},
        {502, u"ANILLO DE PLATA"_s, u"S"_s, u"A"_s, 2, 50, {u"ANI-1"_s}, 0},
        {503, u"CORTE DE PELO"_s, u"N"_s, u"A"_s, 3, 20, {u"SER-1"_s}, 0},
        {504, u"LÁPIZ AZUL"_s, u"S"_s, u"A"_s, 0, 0, {u"lap-1"_s}, 8},
        {505, u"ARTÍCULO DE BAJA"_s, u"S"_s, u"B"_s, 4, 5, {u"BAJ-1"_s}, 3},
        {506, u"SUSPENDIDO EN VENTAS"_s, u"S"_s, u"V"_s, 5, 5, {u"SUS-1"_s}, 3},
    };
    return a;
}

inline void siembraArticulos(lar::Sesion &s)
{
    ejecuta(s, QStringLiteral("INSERT INTO GRUPOS_LINEAS VALUES (401, 'Frutas y papelería')"));
    ejecuta(s, QStringLiteral("INSERT INTO LINEAS_ARTICULOS VALUES (411, 'Frutas', 401)"));
    ejecuta(s, QStringLiteral("INSERT INTO LINEAS_ARTICULOS VALUES (412, 'Papelería', 401)"));
    ejecuta(s, QStringLiteral("INSERT INTO ROLES_CLAVES_ARTICULOS VALUES (421, 'Principal', 'S')"));
    ejecuta(s, QStringLiteral("INSERT INTO ROLES_CLAVES_ARTICULOS VALUES (422, 'Alterna', 'N')"));
    ejecuta(s,
            QStringLiteral("INSERT INTO ALMACENES (ALMACEN_ID, NOMBRE) VALUES (431, 'General')"));
    int claveId = 600;
    for (const Art &a : articulos()) {
        fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
        q.setSql(QStringLiteral(
            "INSERT INTO ARTICULOS (ARTICULO_ID, NOMBRE, ES_ALMACENABLE, ES_JUEGO, ESTATUS,"
            " UNIDAD_VENTA, UNIDAD_COMPRA, LINEA_ARTICULO_ID) VALUES (:id, :n, :a, 'N', :e,"
            " 'PZA', 'PZA', :l)"));
        q.bind(QStringLiteral("id"), a.id);
        q.bind(QStringLiteral("n"), a.nombre);
        q.bind(QStringLiteral("a"), a.almacenable);
        q.bind(QStringLiteral("e"), a.estatus);
        q.bind(QStringLiteral("l"), a.id == 504 ? 412 : 411);
        q.execute();
        // The alternate key goes in first, so that only the role makes the principal one.
        for (int k = int(a.claves.size()) - 1; k >= 0; --k) {
            q.setSql(QStringLiteral("INSERT INTO CLAVES_ARTICULOS VALUES (:i, :c, :a, :r)"));
            q.bind(QStringLiteral("i"), ++claveId);
            q.bind(QStringLiteral("c"), a.claves[k]);
            q.bind(QStringLiteral("a"), a.id);
            q.bind(QStringLiteral("r"), k == 0 ? 421 : 422);
            q.execute();
        }
        q.setSql(QStringLiteral("INSERT INTO LIBRES_ARTICULOS (ARTICULO_ID, PUNTOS, VALOR_PUNTOS)"
                                " VALUES (:a, :p, :v)"));
        q.bind(QStringLiteral("a"), a.id);
        q.bind(QStringLiteral("p"), a.puntos);
        q.bind(QStringLiteral("v"), a.valor);
        q.execute();
        if (a.existencia) {
            q.setSql(QStringLiteral("INSERT INTO SALDOS_IN (ARTICULO_ID, ALMACEN_ID, ANO, MES,"
                                    " ENTRADAS_UNIDADES) VALUES (:a, 431, 2020, 1, :e)"));
            q.bind(QStringLiteral("a"), a.id);
            q.bind(QStringLiteral("e"), a.existencia);
            q.execute();
        }
        s.UpdateCommit();
    }
}

inline QStringList nombres(lar::MemTable &t)
{
    QStringList n;
    for (int r = 0; r < t.recordCount(); ++r)
        n << t.valueAt(r, lar::art::NOMBRE).toString();
    n.sort();
    return n;
}

inline QPair<int, int> puntosGuardados(lar::Sesion &s, int id)
{
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(
        QStringLiteral("SELECT PUNTOS, VALOR_PUNTOS FROM LIBRES_ARTICULOS WHERE ARTICULO_ID = ?"));
    q.bind(0, id);
    q.open();
    QPair<int, int> r{q.field(0).toInt(), q.field(1).toInt()};
    q.close();
    s.UpdateCommit();
    return r;
}

// A figure of the list (a Decimal) as a double.
inline double num(lar::MemTable &t, int row, int field)
{
    return t.valueAt(row, field).value<fb::Decimal>().toDouble();
}

inline int fila(lar::MemTable &t, int id)
{
    for (int r = 0; r < t.recordCount(); ++r) {
        if (t.valueAt(r, lar::art::ARTICULO_ID).toInt() == id)
            return r;
    }
    return -1;
}

} // namespace lartest
