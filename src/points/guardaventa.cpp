#include "guardaventa.h"

#include "ledger.h"

#include "core/ids.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QtMath>

namespace lar {

namespace {

double cuatroDecimales(double v)
{
    return qRound64(v * 10000.0) / 10000.0;
}

// The save's statements, owned by the session and prepared once for the run: a shop
// saves redemption after redemption, and preparing them again was much of the cost
// of each save. Writes and single-row counts only, each run and closed within the
// call that uses it, on fbUpdateTrans.
fb::Query &sentencia(Sesion &s, const QString &nombre, const QString &sql)
{
    fb::Query *q = s.consulta(nombre);
    if (!q) {
        q = s.creaQuery(false, nombre);
        q->setAutoCommit(false);
    }
    q->setSql(sql);
    return *q;
}

} // namespace

GuardaVenta::GuardaVenta(Sesion &sesion)
    : m_sesion(sesion)
{}

int GuardaVenta::unidadesBoleto(const QList<LineaCanje> &lineas, int artBoletoId)
{
    int unidades = 0;
    if (artBoletoId > 0) {
        for (const LineaCanje &l : lineas) {
            if (l.articuloId == artBoletoId)
                unidades += l.unidades;
        }
    }
    return unidades;
}

GuardaVenta::Resultado GuardaVenta::guarda(const Canje &canje)
{
    Resultado r;
    fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
    r.aviso = ValidaVenta(canje);
    if (!r.aviso.vacio())
        return r;

    Estado estado;
    try {
        if (!GuardaDoctoIn(canje, estado, r.aviso))
            return r;
    } catch (const fb::Error &e) {
        guardia.leaveActive();
        r.error = e.message();
        r.pendiente = true;
        return r;
    }
    try {
        GuardaPuntos(canje, estado);
    } catch (const fb::Error &e) {
        r.error = e.message();
        r.enPuntos = true;
        return r;
    }
    guardia.commit();
    r.ok = true;
    r.doctoId = estado.doctoNuevoId;
    r.folioDocto = estado.folioDocto;
    r.folioEncabezado = estado.folioEncabezado;
    r.soloBoletos = estado.soloBoletos;
    return r;
}

AvisoCanje GuardaVenta::ValidaVenta(const Canje &canje) const
{
    if (canje.clienteId == 0)
        return {QStringLiteral("Primero debe seleccionar un cliente."),
                QStringLiteral("Aviso"),
                AvisoCanje::Cliente};
    if (canje.almacenId == -1)
        return {QStringLiteral("Primero debe seleccionar un almacén."),
                QStringLiteral("Aviso"),
                AvisoCanje::Almacen};
    if (canje.lineas.isEmpty())
        return {QStringLiteral("La venta no tiene artículos"), QStringLiteral("Error")};
    return {};
}

bool GuardaVenta::GuardaDoctoIn(const Canje &canje, Estado &estado, AvisoCanje &aviso)
{
    Sesion &s = m_sesion;
    QString unidad = LeeRegistro(s, QStringLiteral("Unidad Doctos Inv Puntos"));
    if (unidad.isEmpty())
        unidad = QStringLiteral("V");

    const bool conSucursal
        = ExisteCampo(s, QStringLiteral("DOCTOS_IN"), QStringLiteral("SUCURSAL_ID"));
    QVariant sucursal;
    if (conSucursal) {
        fb::Query &q = sentencia(
            s,
            QStringLiteral("qCanjeSucursal"),
            QStringLiteral("SELECT  s.sucursal_id FROM sucursales s WHERE s.es_matriz = true"));
        q.open();
        if (!q.eof())
            sucursal = q.field(0).toVariant();
        q.close();
    }

    if (canje.esNueva) {
        const QString concepto = LeeRegistro(s, QStringLiteral("Concepto Salida Puntos"));
        if (concepto.isEmpty()) {
            // The list tests this beforehand; here the save just fails.
            aviso = {QStringLiteral("Favor de configurar el concepto de salida de los puntos."),
                     QStringLiteral("Verificar")};
            return false;
        }
        estado.conceptoId = concepto.toInt();
    }

    estado.vFolio.clear();
    if (!AsignaFolio(estado.conceptoId, estado.vFolio, aviso))
        return false;

    estado.doctoNuevoId = GetNextFolioDoc(s, true);

    // The ledger keeps the folio as assigned; only the header steps over a folio
    // taken meanwhile.
    estado.folioDocto = FolioRellena(estado.vFolio, ledger::AnchoFolio);
    QString folio = estado.folioDocto;
    while (ExisteFolioIn(estado.conceptoId, folio))
        folio = FolioNormaliza(FolioSiguiente(folio, ledger::AnchoFolio));

    const int artBoleto = LeeRegistro(s, QStringLiteral("ArtBoleto")).toInt();
    int otras = 0;
    for (const LineaCanje &l : canje.lineas) {
        if (artBoleto <= 0 || l.articuloId != artBoleto)
            ++otras;
    }
    if (unidadesBoleto(canje.lineas, artBoleto) > 0 && otras == 0) {
        // Tickets alone: no stock document, though the folio is spent.
        estado.soloBoletos = true;
        return true;
    }

    fb::Query &encabezado = sentencia(
        s,
        conSucursal ? QStringLiteral("qCanjeDoctoInSucursal") : QStringLiteral("qCanjeDoctoIn"),
        QStringLiteral(
            "INSERT INTO doctos_in (docto_in_id, almacen_id, concepto_in_id, folio, "
            "naturaleza_concepto, fecha, cancelado, aplicado, descripcion, forma_emitida, "
            "contabilizado, sistema_origen, centro_costo_id, usuario_creador%1) VALUES "
            "(:docto_in_id, :almacen_id, :concepto_in_id, :folio, :naturaleza_concepto, "
            "current_timestamp, :cancelado, :aplicado, :descripcion, :forma_emitida, "
            ":contabilizado, :sistema_origen, :centro_costo_id, current_user%2)")
            .arg(conSucursal ? QStringLiteral(", sucursal_id") : QString(),
                 conSucursal ? QStringLiteral(", :sucursal_id") : QString()));
    const QString no = QStringLiteral("N");
    encabezado.bind(QStringLiteral("docto_in_id"), estado.doctoNuevoId);
    encabezado.bind(QStringLiteral("almacen_id"), canje.almacenId);
    encabezado.bind(QStringLiteral("concepto_in_id"), estado.conceptoId);
    encabezado.bind(QStringLiteral("folio"), folio);
    encabezado.bind(QStringLiteral("naturaleza_concepto"), QStringLiteral("S"));
    encabezado.bind(QStringLiteral("cancelado"), no);
    encabezado.bind(QStringLiteral("aplicado"), no);
    encabezado.bind(QStringLiteral("forma_emitida"), no);
    encabezado.bind(QStringLiteral("contabilizado"), no);
    encabezado.bind(
        QStringLiteral("descripcion"),
        QStringLiteral("Cliente: ") + canje.txtCliente
            + QStringLiteral(" salida generada automáticamente por concepto de canjeo de "
                             "puntos."));
    encabezado.bind(QStringLiteral("sistema_origen"), QStringLiteral("LV"));
    const bool conCentro
        = !canje.centroCosto.isEmpty() && canje.centroCosto != QLatin1String("--1");
    encabezado.bind(QStringLiteral("centro_costo_id"),
                    conCentro ? QVariant(canje.centroCosto.toInt()) : QVariant());
    if (conSucursal)
        encabezado.bind(QStringLiteral("sucursal_id"), sucursal);
    encabezado.execute();
    estado.folioEncabezado = folio;

    QList<const LineaCanje *> porPartida;
    for (const LineaCanje &l : canje.lineas) {
        if (l.articuloId > 0 && l.almacenable)
            porPartida.append(&l);
    }
    std::stable_sort(
        porPartida.begin(), porPartida.end(), [](const LineaCanje *a, const LineaCanje *b) {
            return a->partida < b->partida;
        });
    fb::Query &detalle = sentencia(
        s,
        QStringLiteral("qCanjeDoctoInDet"),
        QStringLiteral(
            "INSERT INTO doctos_in_det (docto_in_id, almacen_id, concepto_in_id, clave_articulo, "
            "articulo_id, tipo_movto, unidades, costo_unitario, costo_total, metodo_costeo, "
            "cancelado, aplicado, costeo_pend, pedimento_pend, rol, fecha, docto_in_det_id) "
            "VALUES (:docto_in_id, :almacen_id, :concepto_in_id, :clave_articulo, :articulo_id, "
            ":tipo_movto, :unidades, :costo_unitario, :costo_total, :metodo_costeo, :cancelado, "
            ":aplicado, :costeo_pend, :pedimento_pend, :rol, current_date, :docto_in_det_id)"));
    for (const LineaCanje *l : porPartida) {
        const double unidades
            = unidad == QLatin1String("C") ? l->unidades * l->contUC : l->unidades;
        detalle.bind(QStringLiteral("docto_in_id"), estado.doctoNuevoId);
        detalle.bind(QStringLiteral("almacen_id"), canje.almacenId);
        detalle.bind(QStringLiteral("concepto_in_id"), estado.conceptoId);
        detalle.bind(QStringLiteral("clave_articulo"), l->clave);
        detalle.bind(QStringLiteral("articulo_id"), l->articuloId);
        detalle.bind(QStringLiteral("tipo_movto"), QStringLiteral("S"));
        detalle.bind(QStringLiteral("unidades"), cuatroDecimales(unidades));
        detalle.bind(QStringLiteral("costo_unitario"), cuatroDecimales(l->costoUltimaCompra));
        detalle.bind(QStringLiteral("costo_total"), l->unidades * l->costoUltimaCompra);
        detalle.bind(QStringLiteral("metodo_costeo"), QString(canje.metodoCosteo));
        detalle.bind(QStringLiteral("cancelado"), no);
        detalle.bind(QStringLiteral("aplicado"), no);
        detalle.bind(QStringLiteral("costeo_pend"), no);
        detalle.bind(QStringLiteral("pedimento_pend"), no);
        detalle.bind(QStringLiteral("rol"), no);
        detalle.bind(QStringLiteral("docto_in_det_id"), -1);
        detalle.execute();
    }

    // Microsip's triggers move the stock here: a shortage is refused at this point.
    fb::Query &aplica = sentencia(
        s,
        QStringLiteral("qCanjeAplica"),
        QStringLiteral("UPDATE doctos_in SET aplicado = 'S' WHERE docto_in_id = :docto_in_id"));
    aplica.bind(QStringLiteral("docto_in_id"), estado.doctoNuevoId);
    aplica.execute();
    return true;
}

bool GuardaVenta::AsignaFolio(int conceptoId, QString &vFolio, AvisoCanje &aviso)
{
    Sesion &s = m_sesion;
    const bool conSeries = ExisteTabla(s, QStringLiteral("FOLIOS_CONCEPTOS"));
    fb::Query &q
        = conSeries
              ? sentencia(s,
                          QStringLiteral("qCanjeConceptoSerie"),
                          QStringLiteral(
                              "SELECT ci.folio_autom,fc.consecutivo , ci.tipo, ci.concepto_in_id, "
                              "ci.nombre,fc.Serie FROM conceptos_in ci Join Folios_Conceptos fc "
                              "on fc.concepto_id=ci.concepto_in_id WHERE concepto_in_id=:con"))
              : sentencia(s,
                          QStringLiteral("qCanjeConcepto"),
                          QStringLiteral("SELECT folio_autom,sig_folio,tipo,concepto_in_id,nombre "
                                         "FROM conceptos_in WHERE concepto_in_id=:con"));
    q.bind(QStringLiteral("con"), conceptoId);
    q.open();
    const bool hay = !q.eof();
    const int concepto = hay ? q.field(3).toInt() : 0;
    if (concepto == 0) {
        q.close();
        vFolio.clear();
        aviso = {QStringLiteral("No se encontró el concepto de inventarios en Microsip"),
                 QStringLiteral("Error")};
        return false;
    }
    if (q.field(0).toTrimmed() != QLatin1String("S")) {
        aviso = {QStringLiteral("Debe configurar los folios de ") + q.field(4).toTrimmed()
                     + QStringLiteral(" como automáticos"),
                 QStringLiteral("Error")};
        q.close();
        vFolio.clear();
        return false;
    }
    const int consecutivo = conSeries ? q.field(1).toInt() : 0;
    const QString candidato = conSeries ? q.field(5).toTrimmed() + QString::number(consecutivo)
                                        : FolioNormaliza(q.field(1).toTrimmed());
    q.close();

    vFolio = candidato;
    while (ExisteFolioIn(conceptoId, vFolio))
        vFolio = FolioNormaliza(FolioSiguiente(vFolio, ledger::AnchoFolio));

    // The series stores the next of the number read, so skipped folios are met again
    // by the next save; the concept stores the next of the folio taken.
    fb::Query &sigue
        = conSeries
              ? sentencia(s,
                          QStringLiteral("qCanjeSerie"),
                          QStringLiteral("UPDATE Folios_Conceptos f_c SET consecutivo = "
                                         ":sig_folio WHERE concepto_id = :id "))
              : sentencia(s,
                          QStringLiteral("qCanjeSigFolio"),
                          QStringLiteral("UPDATE conceptos_in SET sig_folio = :sig_folio WHERE "
                                         "concepto_in_id = :id and folio_autom='S'"));
    if (conSeries)
        sigue.bind(QStringLiteral("sig_folio"), consecutivo + 1);
    else
        sigue.bind(QStringLiteral("sig_folio"), FolioSiguiente(vFolio, ledger::AnchoFolio));
    sigue.bind(QStringLiteral("id"), conceptoId);
    sigue.execute();
    return true;
}

bool GuardaVenta::ExisteFolioIn(int conceptoId, const QString &folio)
{
    fb::Query &q = sentencia(
        m_sesion,
        QStringLiteral("qCanjeExisteFolio"),
        QStringLiteral(
            "select count(*) from doctos_in where concepto_in_id=:con and folio=:folio"));
    q.bind(QStringLiteral("con"), conceptoId);
    q.bind(QStringLiteral("folio"), FolioRellena(folio, ledger::AnchoFolio));
    q.open();
    const bool existe = q.field(0).toInt() > 0;
    q.close();
    return existe;
}

void GuardaVenta::GuardaPuntos(const Canje &canje, const Estado &estado)
{
    Sesion &s = m_sesion;
    fb::Query &q = sentencia(
        s,
        QStringLiteral("qCanjePuntos"),
        QStringLiteral(
            "INSERT INTO LAR_PUNTOS (lar_puntos_id, cliente_id, docto_id, articulo_id, tipo_docto, "
            "folio, naturaleza, unidades, valor_puntos, sistema,partida) VALUES (:lar_puntos_id, "
            ":cliente_id, :docto_id, :articulo_id, :tipo_docto, :folio, :naturaleza, :unidades, "
            ":valor_puntos, 'IN',:partida);"));
    int conArticulo = 0;
    for (const LineaCanje &l : canje.lineas)
        conArticulo += l.articuloId > 0 ? 1 : 0;
    if (conArticulo == 0)
        return;
    // The ids of all the rows in one call: the generator hands out the same run of
    // numbers that one call per row would, without a round trip for each.
    int id = GetNextID(s, QStringLiteral("PUNTOS"), conArticulo) - conArticulo + 1;
    const QString tipo(QLatin1Char(ledger::Canje));
    const QString naturaleza(QLatin1Char(ledger::Salida));
    int partida = 1;
    // Numbered by grid position: a line without an article leaves a gap.
    for (const LineaCanje &l : canje.lineas) {
        if (l.articuloId > 0) {
            q.bind(QStringLiteral("lar_puntos_id"), id++);
            q.bind(QStringLiteral("cliente_id"), canje.clienteId);
            q.bind(QStringLiteral("docto_id"), estado.doctoNuevoId);
            q.bind(QStringLiteral("articulo_id"), l.articuloId);
            q.bind(QStringLiteral("tipo_docto"), tipo);
            q.bind(QStringLiteral("folio"), estado.folioDocto);
            q.bind(QStringLiteral("naturaleza"), naturaleza);
            q.bind(QStringLiteral("unidades"), l.unidades);
            q.bind(QStringLiteral("valor_puntos"), l.totalPuntos);
            q.bind(QStringLiteral("partida"), partida);
            q.execute();
        }
        ++partida;
    }
}

VentaCargada CargaVenta(Sesion &s, int doctoId)
{
    VentaCargada v;
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "SELECT p.CLIENTE_ID,d.ALMACEN_ID,L.NOMBRE AS almacen,C.NOMBRE as "
        "cliente,P.articulo_id,a.nombre,P.UNIDADES,P.VALOR_PUNTOS,P.TIPO_DOCTO ,(select first 1 "
        "clave_articulo from claves_articulos c join roles_claves_articulos r on "
        "r.rol_clave_art_id=c.rol_clave_art_id where c.articulo_id=a.articulo_id order by "
        "r.es_ppal desc) as clave FROM LAR_PUNTOS P left join clientes C on "
        "C.cliente_id=P.cliente_id left join doctos_in D on d.DOCTO_IN_ID=p.DOCTO_ID LEFT JOIN "
        "almacenes L ON d.almacen_id=l.almacen_id LEFT JOIN articulos a on "
        "a.ARTICULO_ID=p.ARTICULO_ID WHERE TIPO_DOCTO IN ('C','X') AND DOCTO_ID=:id"));
    q.bind(QStringLiteral("id"), doctoId);
    q.open();
    int partida = 1;
    while (!q.eof()) {
        if (!v.existe) {
            v.existe = true;
            v.clienteId = q.field(0).toInt();
            v.almacen = q.field(1).isNull() ? QStringLiteral("--1") : q.field(1).toString();
            v.nombreAlmacen = q.field(2).toString();
            v.cliente = q.field(3).toString();
        }
        LineaCanje l;
        l.articuloId = q.field(4).toInt();
        l.nombre = q.field(5).toString();
        l.unidades = q.field(6).toInt();
        l.totalPuntos = q.field(7).toInt();
        // A quotient that isn't whole is cut, as an integer field takes it.
        l.valorPuntos = l.unidades != 0 ? int(double(l.totalPuntos) / l.unidades) : 0;
        l.clave = q.field(9).toString();
        l.partida = partida++;
        if (q.field(8).toString() == QLatin1String("X"))
            v.cancelada = true;
        v.totalPuntos += l.totalPuntos;
        v.lineas.append(l);
        q.next();
    }
    q.close();
    if (v.existe) {
        fb::Query saldo(&s.fbDatabase(), &s.fbViewTrans());
        v.saldo = SaldoCliente(v.clienteId, saldo);
    }
    return v;
}

QString CancelaVenta(Sesion &s, int doctoId)
{
    try {
        fb::TransactionGuard guardia(s.fbUpdateTrans());
        fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
        q.setSql(QStringLiteral(
            "UPDATE doctos_in set cancelado='S' WHERE docto_in_id = :id and cancelado='N'"));
        q.bind(QStringLiteral("id"), doctoId);
        q.execute();
        // By number alone: every ledger row that bears it.
        q.setSql(QStringLiteral("UPDATE lar_puntos SET tipo_docto = 'X'  WHERE docto_id = :id"));
        q.bind(QStringLiteral("id"), doctoId);
        q.execute();
        guardia.commit();
    } catch (const fb::Error &e) {
        return e.message();
    }
    return {};
}

BloqueoCliente LeeBloqueo(Sesion &s, int clienteId)
{
    BloqueoCliente b;
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setSql(
        QStringLiteral("SELECT clienteid,fecha,usuario FROM lar_datosclte WHERE clienteid = :id "));
    q.bind(QStringLiteral("id"), clienteId);
    q.open();
    if (!q.eof()) {
        b.existe = true;
        b.fecha = q.field(1).toDateTime();
        b.usuario = q.field(2).toTrimmed();
    }
    q.close();
    return b;
}

void BloqueaCliente(Sesion &s, int clienteId, const QString &clave, const QString &nombre)
{
    fb::TransactionGuard guardia(s.fbUpdateTrans());
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral("INSERT INTO  LAR_DATOSCLTE (clienteid,clave,nombre,fecha,Usuario) "
                            "VALUES (:id, :clve, :nombre, :fecha,:Usuario)"));
    q.bind(QStringLiteral("id"), clienteId);
    q.bind(QStringLiteral("clve"), clave);
    q.bind(QStringLiteral("nombre"), nombre);
    q.bind(QStringLiteral("fecha"),
           QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy hh:mm")));
    q.bind(QStringLiteral("Usuario"), s.UsuarioActual);
    q.execute();
    guardia.commit();
}

void LiberaCliente(Sesion &s, int clienteId)
{
    fb::TransactionGuard guardia(s.fbUpdateTrans());
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral("DELETE FROM lar_datosclte WHERE clienteid = :id and usuario= :user "));
    q.bind(QStringLiteral("id"), clienteId);
    q.bind(QStringLiteral("user"), s.UsuarioActual);
    q.execute();
    guardia.commit();
}

void LiberaClienteForzado(Sesion &s, int clienteId)
{
    fb::TransactionGuard guardia(s.fbUpdateTrans());
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral("DELETE FROM lar_datosclte WHERE clienteid = :id "));
    q.bind(QStringLiteral("id"), clienteId);
    q.execute();
    guardia.commit();
}

} // namespace lar
