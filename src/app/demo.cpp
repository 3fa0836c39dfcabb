// larvenos-demo: prepares the demo environment that `make demo` runs and takes the
// pictures of the documentation.
//
//   larvenos-demo instala CARPETA            extension schema and demo rights
//   larvenos-demo capturas CARPETA DESTINO   login dialog, main window and the
//                                            configuration screen as PNG (login,
//                                            main, main-operacion, config)
//   larvenos-demo vale CARPETA DESTINO       the preview of the redemption voucher
//                                            (vale-preview)
//   larvenos-demo articulos CARPETA DESTINO  the articles with points, searched (articulos)
//   larvenos-demo canje CARPETA DESTINO      the redemption list and a capture
//                                            (canje-lista, canje-captura)
//   larvenos-demo reportes CARPETA DESTINO   the purchases report (rep-compras)
//   larvenos-demo factura CARPETA DESTINO    the sample invoice of the CFDI 4.0 sale
//                                            (factura-cfdi)
//   larvenos-demo historial CARPETA DESTINO  the points history of the customer with
//                                            the most ledger rows (historial)

#include "app/modulos.h"
#include "catalog/articulos_lista.h"
#include "core/conecta.h"
#include "core/fmain.h"
#include "db/actualizadb.h"
#include "microsip/sim/entorno.h"
#include "points/historial_forma.h"
#include "points/ventaspuntos.h"
#include "points/ventaspuntoslista.h"
#include "reports/formas.h"
#include "reports/funcionesreporte.h"
#include "reports/preview.h"
#include "reports/rep_porcliente.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/reporte/pintor.h"
#include "toolkit/reporte/reporte.h"
#include "toolkit/reporte/visor.h"
#include "toolkit/ribbon.h"

#include <QApplication>
#include <QDateEdit>
#include <QDir>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTextStream>
#include <QTimer>
#include <QToolButton>

#include <cstdio>

namespace {

QTextStream &err()
{
    static QTextStream s(stderr);
    return s;
}

// The rights of the demo cashier: redemptions (all), history, manual points, the
// three reports and points by activity.
void derechosDemo(lar::Sesion &s)
{
    const QList<QPair<int, int>> derechos{
        {73, 31}, {74, 3}, {75, 3}, {76, 7}, {77, 7}, {78, 3}, {79, 15}};
    fb::TransactionGuard guardia(s.fbUpdateTrans());
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(QStringLiteral(
        "update or insert into lar_permisos (modulo, usuario, acceso) values (:m, 'CAJERO', :a)"));
    for (const auto &[modulo, acceso] : derechos) {
        q.bind(QStringLiteral("m"), modulo);
        q.bind(QStringLiteral("a"), acceso);
        q.execute();
    }
    guardia.commit();
}

int instala(const QString &carpeta)
{
    const microsip::Entorno e
        = microsip::Entorno::abre(carpeta, qEnvironmentVariable("LAR_FB_PASSWORD"));
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    e.conecta(s.fbMetadatos(), e.rutaMetadatos());
    lar::ActualizaDB a(s);
    a.setBitacora([](const QString &l) { QTextStream(stdout) << l << Qt::endl; });
    a.setAviso([](const QString &t) { err() << t << Qt::endl; });
    if (!a.Actualiza())
        return 1;
    derechosDemo(s);
    return 0;
}

bool guarda(QWidget *w, const QString &ruta)
{
    if (!w->grab().save(ruta)) {
        err() << "No se pudo escribir " << ruta << Qt::endl;
        return false;
    }
    QTextStream(stdout) << ruta << Qt::endl;
    return true;
}

int capturas(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e = microsip::Entorno::abre(carpeta);
    qputenv("LARVENOS_COMMON_APPDATA", e.carpetaComun().toUtf8());
    qputenv("LARVENOS_LOCAL_APPDATA", e.carpetaLocal().toUtf8());
    QDir().mkpath(destino);
    // Any box would wait for a click nobody gives: answer and report it.
    lar::ServicioMensajes::instalaRespondedor([](const lar::CajaMensaje &c) {
        err() << c.titulo << ": " << c.texto << Qt::endl;
        return lar::mb::IdOk;
    });

    int resultado = 1;
    lar::TfMain m;
    m.resize(1200, 760);
    // The login dialog as the user first sees it, then the session it opens.
    auto *sondeo = new QTimer(&m);
    QObject::connect(sondeo, &QTimer::timeout, &m, [&, sondeo] {
        for (QWidget *w : QApplication::topLevelWidgets()) {
            auto *f = qobject_cast<lar::TfConecta *>(w);
            if (!f || !f->isVisible())
                continue;
            sondeo->stop();
            guarda(f, destino + QStringLiteral("/login.png"));
            f->vUsuario->setText(QStringLiteral("SYSDBA"));
            f->vPass->setText(QStringLiteral("masterkey"));
            f->bOk->click();
            QTimer::singleShot(1500, &m, [&] {
                m.setWindowState(Qt::WindowNoState);
                m.resize(1100, 640);
                if (!guarda(&m, destino + QStringLiteral("/main.png")))
                    return QApplication::quit();
                m.dxRibbon->muestraTab(1);
                QTimer::singleShot(300, &m, [&] {
                    // The dropped-down tab is a window of its own: drawn over the main one.
                    QPixmap imagen = m.grab();
                    if (auto *panel
                        = m.dxRibbon->findChild<QWidget *>(QStringLiteral("panelGrupos"))) {
                        QPainter p(&imagen);
                        p.drawPixmap(m.mapFromGlobal(panel->mapToGlobal(QPoint(0, 0))),
                                     panel->grab());
                    }
                    const QString ruta = destino + QStringLiteral("/main-operacion.png");
                    if (!imagen.save(ruta))
                        return QApplication::quit();
                    QTextStream(stdout) << ruta << Qt::endl;
                    // The configuration screen at the size it is designed for.
                    if (auto *panel
                        = m.dxRibbon->findChild<QWidget *>(QStringLiteral("panelGrupos")))
                        panel->hide();
                    m.resize(1366, 768);
                    m.AbreVentana(10, QString());
                    QTimer::singleShot(500, &m, [&] {
                        if (guarda(&m, destino + QStringLiteral("/config.png")))
                            resultado = 0;
                        QApplication::quit();
                    });
                });
            });
            return;
        }
    });
    sondeo->start(20);
    m.show();
    QApplication::exec();
    return resultado;
}

// The articles with points as a user with both rights sees them after a search.
int articulos(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e = microsip::Entorno::abre(carpeta);
    QDir().mkpath(destino);
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    s.UsuarioActual = QStringLiteral("SYSDBA");
    lar::Tfcat_articulos_lista f(s);
    f.Acceso = 7;
    f.resize(1100, 560);
    f.show();
    f.Button1Click();
    f.vBusca->setText(QStringLiteral("refresco cola"));
    QApplication::processEvents();
    return guarda(&f, destino + QStringLiteral("/articulos.png")) ? 0 : 1;
}

// The redemption voucher as the store holds it, with the company of the demo and
// a redemption of its first customer and three of its articles (the demo has no
// redemption of its own until someone makes one).
int vale(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e
        = microsip::Entorno::abre(carpeta, qEnvironmentVariable("LAR_FB_PASSWORD"));
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    lar::reporte::Reporte r;
    QString error;
    if (!lar::CargaPlantilla(s,
                             r,
                             lar::FolderFormas(s),
                             QStringLiteral("Vale de canje"),
                             0,
                             QStringLiteral("Venta CP0000042"),
                             &error)) {
        err() << error << Qt::endl;
        return 1;
    }
    fb::Transaction tr(&s.fbDatabase());
    fb::Query q(&s.fbDatabase(), &tr);
    q.setTrimChars(true);
    lar::MemTable docto, lineas;
    docto.addField(QStringLiteral("FOLIO"), lar::FieldType::String, 9);
    docto.addField(QStringLiteral("FECHA"), lar::FieldType::Date);
    docto.addField(QStringLiteral("CANCELADO"), lar::FieldType::String, 1);
    docto.addField(QStringLiteral("ALMACEN"), lar::FieldType::String, 50);
    docto.addField(QStringLiteral("CONCEPTO"), lar::FieldType::String, 50);
    docto.addField(QStringLiteral("CLIENTE"), lar::FieldType::String, 200);
    docto.addField(QStringLiteral("SALDO"), lar::FieldType::Integer);
    docto.open();
    q.setSql(QStringLiteral(
        "select first 1 c.nombre, (select first 1 nombre from almacenes order by "
        "almacen_id) from clientes c where c.nombre not starting with 'P' order by c.cliente_id"));
    q.open();
    docto.appendRecord({QStringLiteral("CP0000042"),
                        QDate::currentDate(),
                        QStringLiteral("N"),
                        q.field(1).toString(),
                        QStringLiteral("Canje de puntos"),
                        q.field(0).toString(),
                        1280});
    q.close();
    lineas.addField(QStringLiteral("CLAVE"), lar::FieldType::String, 20);
    lineas.addField(QStringLiteral("ARTICULO"), lar::FieldType::String, 200);
    lineas.addField(QStringLiteral("UNIDADES"), lar::FieldType::Integer);
    lineas.addField(QStringLiteral("PUNTOS_UNIDAD"), lar::FieldType::Integer);
    lineas.addField(QStringLiteral("PUNTOS"), lar::FieldType::Integer);
    lineas.open();
    q.setSql(QStringLiteral(
        "select first 3 (select first 1 clave_articulo from claves_articulos k where "
        "k.articulo_id = a.articulo_id), a.nombre from articulos a where a.es_almacenable = 'S' "
        "order by a.articulo_id"));
    int n = 0;
    for (q.open(); !q.eof(); q.next(), ++n) {
        const int unidades = n == 0 ? 2 : 1;
        const int puntos = 150 * (n + 1);
        lineas.appendRecord(
            {q.field(0).toString(), q.field(1).toString(), unidades, puntos, unidades * puntos});
    }
    q.close();
    tr.commit();
    r.setCursor(QStringLiteral("Docto"), std::make_unique<lar::reporte::CursorMemTable>(&docto));
    r.setCursor(QStringLiteral("Lineas"), std::make_unique<lar::reporte::CursorMemTable>(&lineas));

    lar::TfPreview p;
    p.setReporte(&r);
    if (!p.regenera(&error)) {
        err() << error << Qt::endl;
        return 1;
    }
    p.resize(1000, 700);
    p.show();
    int resultado = 1;
    // After the preview has maximised itself: back to a picture's size, page width.
    QTimer::singleShot(300, &p, [&] {
        p.setWindowState(Qt::WindowNoState);
        p.resize(1000, 700);
        QTimer::singleShot(200, &p, [&] {
            p.findChild<QToolButton *>(QStringLiteral("spbPreviewWidth"))->click();
            QApplication::processEvents();
            QDir().mkpath(destino);
            resultado = guarda(&p, destino + QStringLiteral("/vale-preview.png")) ? 0 : 1;
            QApplication::quit();
        });
    });
    QApplication::exec();
    return resultado;
}

// The redemption list and a capture under way, for the documentation: the demo's
// best customer redeems two articles (a real save, so the list has a row), then a
// second capture is left open with a line typed.
int canje(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e
        = microsip::Entorno::abre(carpeta, qEnvironmentVariable("LAR_FB_PASSWORD"));
    lar::ServicioMensajes::instalaRespondedor([](const lar::CajaMensaje &c) {
        err() << c.titulo << ": " << c.texto << Qt::endl;
        return lar::mb::IdOk;
    });
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    s.UsuarioActual = QStringLiteral("SYSDBA");
    s.Permisos.fill(1048575);
    QDir().mkpath(destino);

    fb::Transaction tr(&s.fbDatabase());
    fb::Query q(&s.fbDatabase(), &tr);
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "select first 1 p.cliente_id, (select first 1 clave_cliente from claves_clientes k "
        "where k.cliente_id = p.cliente_id) from lar_puntos p where p.tipo_docto <> 'X' group "
        "by 1 order by sum(case when naturaleza='E' then valor_puntos else -valor_puntos end) "
        "desc"));
    q.open();
    const QString cliente = q.field(1).toString();
    q.close();
    q.setSql(QStringLiteral(
        "select first 2 (select first 1 clave_articulo from claves_articulos k where "
        "k.articulo_id = a.articulo_id) from articulos a join libres_articulos l on "
        "l.articulo_id = a.articulo_id where a.es_almacenable = 'S' and l.valor_puntos between "
        "1 and 40 order by l.valor_puntos"));
    QStringList claves;
    for (q.open(); !q.eof(); q.next())
        claves << q.field(0).toString();
    q.close();
    tr.commit();

    auto captura = [&](lar::TfVentasPuntos &f, bool guardar) {
        f.EsNueva = true;
        for (QPushButton *b : {f.bSave, f.bSaveClose, f.bSaveNew})
            b->setEnabled(true);
        f.resize(1000, 640);
        f.show();
        f.txtCliente->setText(cliente);
        f.BuscaClienteClave();
        f.mDet->append();
        f.mDet->post();
        for (const QString &clave : claves) {
            f.ClaveCambiada(clave);
            f.cxGrid->setCurrentIndex(f.cxGrid->model()->index(f.mDet->recNo(), 2));
            f.UnidadesEnter(QStringLiteral("2"));
        }
        if (guardar)
            return f.GuardaVenta();
        return true;
    };
    {
        lar::TfVentasPuntos f(s);
        if (!captura(f, true))
            return 1;
        f.bEdit->setChecked(false);
        f.LiberaCliente();
        f.close();
    }
    int resultado = 1;
    lar::TfVentasPuntosLista l(s);
    l.resize(1100, 560);
    l.show();
    lar::TfVentasPuntos f(s);
    captura(f, false);
    QTimer::singleShot(300, &l, [&] {
        if (guarda(&l, destino + QStringLiteral("/canje-lista.png"))
            && guarda(&f, destino + QStringLiteral("/canje-captura.png")))
            resultado = 0;
        f.bEdit->setChecked(false);
        f.LiberaCliente();
        QApplication::quit();
    });
    QApplication::exec();
    return resultado;
}

// The purchases report of the customer with the most point-of-sale sales, over the
// demo's last 90 days.
int reportes(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e
        = microsip::Entorno::abre(carpeta, qEnvironmentVariable("LAR_FB_PASSWORD"));
    qputenv("LARVENOS_COMMON_APPDATA", e.carpetaComun().toUtf8());
    qputenv("LARVENOS_LOCAL_APPDATA", e.carpetaLocal().toUtf8());
    lar::ServicioMensajes::instalaRespondedor([](const lar::CajaMensaje &c) {
        err() << c.titulo << ": " << c.texto << Qt::endl;
        return lar::mb::IdOk;
    });
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    int cliente = 0;
    {
        fb::Transaction tr(&s.fbDatabase());
        fb::Query q(&s.fbDatabase(), &tr);
        // Someone by name, not the counter's anonymous customer.
        q.setSql(QStringLiteral("select first 1 d.cliente_id from doctos_pv d join clientes c on "
                                "c.cliente_id = d.cliente_id where d.estatus <> 'C' and "
                                "c.nombre not like 'P%blico en general' group by d.cliente_id "
                                "order by count(*) desc"));
        q.open();
        cliente = q.eof() ? 0 : q.field(0).toInt();
        q.close();
        tr.commit();
    }
    lar::Tfrep_PorCliente f(s);
    f.Acceso = 7;
    f.resize(1000, 560);
    f.show();
    if (!f.clientes().locate(QStringLiteral("ID"), cliente))
        return 1;
    f.ClienteId = cliente;
    f.txtCliente->setText(f.clientes().fieldByName(QStringLiteral("Nombre")).asString());
    f.dtpFechaI->setDate(QDate::currentDate().addDays(-90));
    f.dtpFechaF->setDate(QDate::currentDate());
    f.Button1->click();
    QApplication::processEvents();
    QDir().mkpath(destino);
    return guarda(&f, destino + QStringLiteral("/rep-compras.png")) ? 0 : 1;
}

// The sample invoice of the demo's sale stamped as CFDI 4.0, as a picture of its
// first page.
int factura(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e
        = microsip::Entorno::abre(carpeta, qEnvironmentVariable("LAR_FB_PASSWORD"));
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    lar::RegistraFuncionesReporte(s);
    int docto = 0;
    {
        fb::Transaction tr(&s.fbDatabase());
        fb::Query q(&s.fbDatabase(), &tr);
        q.setSql(QStringLiteral("select max(docto_id) from usos_folios_fiscales"));
        q.open();
        docto = q.field(0).toInt();
        q.close();
        tr.commit();
    }
    lar::reporte::Reporte r;
    QString error;
    const bool ok = lar::CargaPlantilla(s,
                                        r,
                                        lar::FolderFormas(s),
                                        QStringLiteral("Factura CFDI"),
                                        docto,
                                        QStringLiteral("Factura"),
                                        &error)
                    && r.genera(&error);
    s.UpdateCommit();
    lar::QuitaFuncionesReporte();
    if (!ok) {
        err() << error << Qt::endl;
        return 1;
    }
    QDir().mkpath(destino);
    return lar::reporte::imagenHoja(r.documento().hojas.value(0), 4)
                   .save(destino + QStringLiteral("/factura-cfdi.png"))
               ? 0
               : 1;
}

// The points history of the customer with the most ledger rows, over the demo's
// last 45 days.
int historial(const QString &carpeta, const QString &destino)
{
    const microsip::Entorno e
        = microsip::Entorno::abre(carpeta, qEnvironmentVariable("LAR_FB_PASSWORD"));
    lar::Sesion s;
    e.conecta(s.fbConfig(), e.rutaConfig());
    e.conecta(s.fbDatabase(), e.rutaEmpresa(e.empresas().value(0)));
    s.UsuarioActual = QStringLiteral("SYSDBA");
    QString clave;
    {
        fb::Transaction tr(&s.fbDatabase());
        fb::Query q(&s.fbDatabase(), &tr);
        q.setTrimChars(true);
        q.setSql(QStringLiteral(
            "select first 1 (select first 1 clave_cliente from claves_clientes k where "
            "k.cliente_id = p.cliente_id) from lar_puntos p join clientes c on c.cliente_id = "
            "p.cliente_id where c.estatus = 'A' group by p.cliente_id order by count(*) desc"));
        q.open();
        clave = q.eof() ? QString() : q.field(0).toString();
        q.close();
        tr.commit();
    }
    lar::TfHistorialPuntos f(s);
    f.Acceso = 3;
    f.resize(1000, 560);
    f.show();
    f.txtCliente->setText(clave);
    f.BuscaClave();
    if (f.ClienteID == 0)
        return 1;
    f.dtpFecIni->setDate(QDate::currentDate().addDays(-45));
    f.dtpFecFin->setDate(QDate::currentDate());
    f.bAceptarClick();
    QApplication::processEvents();
    QDir().mkpath(destino);
    return guarda(&f, destino + QStringLiteral("/historial.png")) ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    lar::RegistraModulos();
    const QStringList args = QApplication::arguments();
    try {
        if (args.size() == 3 && args[1] == u"instala")
            return instala(args[2]);
        if (args.size() == 4 && args[1] == u"capturas")
            return capturas(args[2], args[3]);
        if (args.size() == 4 && args[1] == u"articulos")
            return articulos(args[2], args[3]);
        if (args.size() == 4 && args[1] == u"vale")
            return vale(args[2], args[3]);
        if (args.size() == 4 && args[1] == u"canje")
            return canje(args[2], args[3]);
        if (args.size() == 4 && args[1] == u"reportes")
            return reportes(args[2], args[3]);
        if (args.size() == 4 && args[1] == u"factura")
            return factura(args[2], args[3]);
        if (args.size() == 4 && args[1] == u"historial")
            return historial(args[2], args[3]);
    } catch (const std::exception &ex) {
        err() << ex.what() << Qt::endl;
        return 1;
    }
    err() << "Uso: larvenos-demo instala CARPETA | capturas CARPETA DESTINO | vale CARPETA DESTINO"
             " | articulos CARPETA DESTINO | canje CARPETA DESTINO"
             " | reportes CARPETA DESTINO | factura CARPETA DESTINO | historial CARPETA DESTINO"
          << Qt::endl;
    return 2;
}
