#pragma once

// A seeded stand-in shop ready for redemptions, shared by the redemption suites.

#include "libro.h"

#include "points/guardaventa.h"

#include "core/ids.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "microsip/sim/siembra.h"
#include "support/entornoprueba.h"

#include <memory>

namespace lartest {

using namespace Qt::StringLiterals;

// A seeded shop with the extension, 'Salida por puntos' configured, a customer with
// points and three articles priced in points: two stocked, one service (the ticket).
struct Tienda
{
    std::unique_ptr<lartest::EntornoPrueba> env;
    lar::Sesion s;
    int concepto = 0;
    int almacen = 0;
    int cliente = 0;
    int art1 = 0, art2 = 0, boleto = 0;
    QString clave1, clave2, claveBoleto, claveCliente;

    explicit Tienda(bool foliosConceptos, bool servidor = false)
    {
        lartest::OpcionesPrueba o;
        o.foliosConceptos = foliosConceptos;
        o.sembrado = true;
        o.servidor = servidor;
        env = std::make_unique<lartest::EntornoPrueba>(o);
        env->instalaExtension();
        env->conectaSesion(s);
        concepto
            = valor(u"select concepto_in_id from conceptos_in where nombre='Salida por puntos'"_s)
                  .toInt();
        fb::Database db;
        env->conectaEmpresa(db);
        microsip::asignaSerie(db, concepto, u"CP"_s, 7);
        db.disconnect();
        lar::GuardaRegistro(s, u"Concepto Salida Puntos"_s, QString::number(concepto));
        almacen = valor(u"select min(almacen_id) from almacenes"_s).toInt();
        cliente = valor(u"select min(cliente_id) from clientes"_s).toInt();
        // Stocked articles with at least 5 units in the warehouse.
        const QString conExistencia
            = u"select first 2 skip %1 a.articulo_id from articulos a where a.es_almacenable='S' "
              "and (select sum(entradas_unidades - salidas_unidades) from saldos_in s where "
              "s.articulo_id=a.articulo_id and s.almacen_id=%2) >= 5 order by a.articulo_id"_s;
        art1 = valor(conExistencia.arg(0).arg(almacen)).toInt();
        art2 = valor(conExistencia.arg(1).arg(almacen)).toInt();
        ejecuta(u"update articulos set es_almacenable='N' where articulo_id = "
                "(select max(articulo_id) from articulos)"_s);
        boleto = valor(u"select max(articulo_id) from articulos"_s).toInt();
        clave1 = clave(art1);
        clave2 = clave(art2);
        claveBoleto = clave(boleto);
        claveCliente = texto(u"select first 1 clave_cliente from claves_clientes "
                             "where cliente_id=%1"_s.arg(cliente));
        for (int a : {art1, art2, boleto})
            ejecuta(u"update or insert into libres_articulos (articulo_id, "
                    "valor_puntos) values (%1, 10)"_s.arg(a));
        ejecuta(
            u"insert into lar_puntos (lar_puntos_id, cliente_id, docto_id, articulo_id, "
            "tipo_docto, folio, naturaleza, unidades, valor_puntos, sistema, partida) values "
            "(gen_id(gen_lar_puntos,1), %1, 0, 0, 'A', 'A00000001', 'E', 0, 1000, 'AP', 1)"_s.arg(
                cliente));
    }

    // Reads in transactions of their own, beside the session's.
    QVariant valor(const QString &sql) { return lartest::valor(s.fbDatabase(), sql); }
    QString texto(const QString &sql) { return valor(sql).toString().trimmed(); }
    // Writes go through the session's update transaction and commit it, as the program's.
    void ejecuta(const QString &sql)
    {
        fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
        q.setSql(sql);
        q.execute();
        s.UpdateCommit();
    }
    QString clave(int articulo)
    {
        return texto(
            u"select first 1 clave_articulo from claves_articulos where articulo_id=%1"_s.arg(
                articulo));
    }
    double existencia(int articulo)
    {
        return valor(u"select cast(coalesce(sum(entradas_unidades - salidas_unidades),0) as double "
                     "precision) from saldos_in where articulo_id=%1 and almacen_id=%2"_s
                         .arg(articulo)
                         .arg(almacen))
            .toDouble();
    }
    int saldo() { return lartest::saldo(s.fbDatabase(), cliente); }
    // The folio the next save starts from, in either shape.
    QString siguiente()
    {
        if (valor(u"select count(*) from rdb$relations where "
                  "rdb$relation_name='FOLIOS_CONCEPTOS'"_s)
                .toInt()
            > 0)
            return texto(
                u"select consecutivo from folios_conceptos where concepto_id=%1"_s.arg(concepto));
        return texto(u"select sig_folio from conceptos_in where concepto_in_id=%1"_s.arg(concepto));
    }
    int cuenta(const QString &tabla) { return valor(u"select count(*) from "_s + tabla).toInt(); }
    lar::LineaCanje linea(int articulo, const QString &clave, int unidades, int partida)
    {
        lar::LineaCanje l;
        l.articuloId = articulo;
        l.clave = clave;
        l.unidades = unidades;
        l.valorPuntos = 10;
        l.totalPuntos = 10 * unidades;
        l.partida = partida;
        l.costoUltimaCompra = 12.5;
        l.almacenable = articulo != boleto;
        return l;
    }
    lar::Canje canje(const QList<lar::LineaCanje> &lineas)
    {
        lar::Canje c;
        c.clienteId = cliente;
        c.txtCliente = u"C-1"_s;
        c.almacenId = almacen;
        c.lineas = lineas;
        return c;
    }
};

} // namespace lartest
