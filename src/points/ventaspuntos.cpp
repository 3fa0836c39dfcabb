#include "ventaspuntos.h"

#include "ledger.h"

#include "catalog/articulos_lista.h"
#include "core/acceso.h"
#include "core/ids.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "reports/formas.h"
#include "reports/imprimirforma.h"
#include "shared/listas.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QFontDatabase>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QTextEdit>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

namespace {

const QString kCancelar = QStringLiteral("Cancelar");
const QString kPerder = QStringLiteral("Se perderá la captura. ¿Desea continuar?");

bool pregunta(const QString &texto, const QString &titulo)
{
    return MensajeSistema(texto, titulo, mb::YesNo | mb::IconQuestion | mb::DefButton2)
           == mb::IdYes;
}

// The grid's editors hand what was typed to the capture instead of writing the
// cell: a key is looked up, a quantity measured against the points.
class DelegadoCaptura : public QStyledItemDelegate
{
public:
    explicit DelegadoCaptura(CapturaPuntos *captura)
        : QStyledItemDelegate(captura)
        , m_captura(captura)
    {}

    void
    setModelData(QWidget *editor, QAbstractItemModel *, const QModelIndex &index) const override
    {
        auto *edit = qobject_cast<QLineEdit *>(editor);
        if (!edit)
            return;
        const QString texto = edit->text();
        // After the editor has gone: the handlers may show boxes and move the focus.
        QTimer::singleShot(0, m_captura, [c = m_captura, texto, col = index.column()] {
            if (col == CapturaPuntos::colClave)
                c->ClaveCambiada(texto);
            else if (col == CapturaPuntos::colUnidades)
                c->UnidadesEnter(texto);
        });
    }
    QWidget *
    createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &) const override
    {
        return new QLineEdit(parent);
    }

private:
    CapturaPuntos *m_captura;
};

} // namespace

// ---------------------------------------------------------------------------------
// CapturaPuntos

CapturaPuntos::CapturaPuntos(Sesion &sesion, Sentido sentido, QWidget *parent)
    : TMForm(parent)
    , m_s(sesion)
    , m_sentido(sentido)
{
    mDet = new MemTable(this);
    mDet->setObjectName(QStringLiteral("mDet"));
    auto campo = [this](const QString &n, FieldType t, int size = 0, const QString &titulo = {}) {
        FieldDef d;
        d.name = n;
        d.type = t;
        d.size = size;
        d.displayLabel = titulo;
        if (t == FieldType::Integer)
            d.displayFormat = QStringLiteral(",0;-,0");
        mDet->addField(d);
    };
    campo(QStringLiteral("lar_puntos_id"), FieldType::Integer);
    campo(QStringLiteral("articulo_id"), FieldType::Integer);
    campo(QStringLiteral("clave"), FieldType::String, 20, QStringLiteral("Clave"));
    campo(QStringLiteral("nombre"), FieldType::String, 20, QStringLiteral("Artículo"));
    campo(QStringLiteral("Unidades"), FieldType::Integer, 0, QStringLiteral("Unidades"));
    campo(QStringLiteral("Valor_Puntos"), FieldType::Integer, 0, QStringLiteral("Valor Puntos"));
    campo(QStringLiteral("Total_Puntos"), FieldType::Integer);
    campo(QStringLiteral("Existencia"), FieldType::Float);
    campo(QStringLiteral("Disponibles"), FieldType::Float);
    campo(QStringLiteral("Partida"), FieldType::Integer);
    campo(QStringLiteral("UC"), FieldType::String, 20);
    campo(QStringLiteral("UV"), FieldType::String, 20);
    campo(QStringLiteral("ContUC"), FieldType::Float);
    campo(QStringLiteral("CostoUltimaCompra"), FieldType::Float);
    campo(QStringLiteral("Posted"), FieldType::String, 1);
    campo(QStringLiteral("Almacenable"), FieldType::Boolean);
    mDet->open();

    mClientes = new MemTable(this);
    mClientes->setObjectName(QStringLiteral("mClientes"));

    gbCliente = new QGroupBox(QStringLiteral("Cliente"), this);
    gbCliente->setObjectName(QStringLiteral("gbCliente"));
    txtCliente = new QLineEdit(gbCliente);
    txtCliente->setObjectName(QStringLiteral("txtCliente"));
    txtCliente->setAccessibleName(QStringLiteral("Clave del cliente"));
    txtCliente->installEventFilter(this);
    bCliente = new QToolButton(gbCliente);
    bCliente->setObjectName(QStringLiteral("bCliente"));
    bCliente->setText(QStringLiteral("..."));
    bCliente->setAccessibleName(QStringLiteral("Listado de clientes"));
    connect(bCliente, &QToolButton::clicked, this, &CapturaPuntos::bClienteClick);
    lblNomCliente = new QLabel(gbCliente);
    lblNomCliente->setObjectName(QStringLiteral("lblNomCliente"));
    lbPuntosDisponibles = new QLabel(QStringLiteral("0"), this);
    lbPuntosDisponibles->setObjectName(QStringLiteral("lbPuntosDisponibles"));
    lbPuntosDisponibles->setAccessibleName(QStringLiteral("Puntos disponibles"));
    vTotalPuntos = new QLabel(QStringLiteral("0"), this);
    vTotalPuntos->setObjectName(QStringLiteral("vTotalPuntos"));
    vTotalPuntos->setAccessibleName(QStringLiteral("Total de puntos"));

    MemDet = new QTextEdit(this);
    MemDet->setObjectName(QStringLiteral("MemDet"));
    MemDet->setReadOnly(true);
    MemDet->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    MemDet->setAccessibleName(QStringLiteral("Boleto"));

    cxGrid = new MemGrid(this);
    cxGrid->setObjectName(QStringLiteral("cxGrid"));
    cxGrid->setAccessibleName(QStringLiteral("Artículos del canje"));
    MemTableModel *m = cxGrid->memModel();
    m->addColumn(QStringLiteral("clave"), QStringLiteral("Clave"), 120);
    m->addColumn(QStringLiteral("nombre"), QStringLiteral("Artículo"), 300);
    m->addColumn(QStringLiteral("Unidades"), QStringLiteral("Unidades"), 80);
    m->addColumn(QStringLiteral("Valor_Puntos"), QStringLiteral("Valor Puntos"), 90);
    m->column(colClave).editable = true;
    m->column(colUnidades).editable = true;
    cxGrid->setTable(mDet);
    cxGrid->applyColumns();
    cxGrid->setItemDelegate(new DelegadoCaptura(this));
    cxGrid->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed
                            | QAbstractItemView::AnyKeyPressed);
    cxGrid->installEventFilter(this);

    bEdit = new QPushButton(QStringLiteral("Editar"), this);
    bEdit->setObjectName(QStringLiteral("bEdit"));
    bEdit->setCheckable(true);
    connect(bEdit, &QPushButton::toggled, this, [this] { PreparaEdicion(); });
    bListaArt = new QPushButton(QStringLiteral("Artículos (F4)"), this);
    bListaArt->setObjectName(QStringLiteral("bListaArt"));
    connect(bListaArt, &QPushButton::clicked, this, &CapturaPuntos::bListaArtClick);

    StatusBar1 = new QStatusBar(this);
    StatusBar1->setObjectName(QStringLiteral("StatusBar1"));
    StatusBar1->setSizeGripEnabled(false);
    pPartidas = new QLabel(QStringLiteral("Partidas: 0"), StatusBar1);
    pUnidades = new QLabel(QStringLiteral("Unidades: 0"), StatusBar1);
    pReloj = new QLabel(StatusBar1);
    StatusBar1->addWidget(pPartidas, 1);
    StatusBar1->addWidget(pUnidades, 1);
    StatusBar1->addWidget(pReloj, 1);
    Timer1 = new QTimer(this);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    connect(Timer1, &QTimer::timeout, this, [this] {
        pReloj->setText(QDateTime::currentDateTime().toString(QStringLiteral("dd/MM/yyyy hh:mm")));
    });

    auto *fila = new QHBoxLayout(gbCliente);
    fila->addWidget(txtCliente);
    fila->addWidget(bCliente);
    fila->addWidget(lblNomCliente, 1);
}

CapturaPuntos::~CapturaPuntos() = default;

QString CapturaPuntos::numero(int n) const
{
    return QLocale(QLocale::Spanish, QLocale::Mexico).toString(n);
}

void CapturaPuntos::muestraSaldo()
{
    lbPuntosDisponibles->setText(numero(PuntosDisponibles));
}

bool CapturaPuntos::PreguntaPerderCaptura()
{
    if (ClienteID <= 0)
        return true;
    if (!pregunta(kPerder, kCancelar))
        return false;
    LiberaCliente();
    LimpiaCaptura(false);
    PreparaEdicion();
    return true;
}

bool CapturaPuntos::eventFilter(QObject *obj, QEvent *ev)
{
    if (obj == txtCliente && ev->type() == QEvent::KeyPress) {
        auto *k = static_cast<QKeyEvent *>(ev);
        if (k->text().isEmpty() && k->key() != Qt::Key_Return && k->key() != Qt::Key_Enter
            && k->key() != Qt::Key_Backspace && k->key() != Qt::Key_Delete)
            return false;
        // Any key, not only Enter, asks before a loaded customer is lost.
        if (ClienteID > 0 && !PreguntaPerderCaptura())
            return true;
        if (!txtCliente->isReadOnly()
            && (k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter)) {
            BuscaClienteClave();
            return true;
        }
        return false;
    }
    if (obj == cxGrid && ev->type() == QEvent::KeyPress) {
        auto *k = static_cast<QKeyEvent *>(ev);
        // An open editor's Enter comes up here too: that one is the editor's.
        if ((k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter)
            && QApplication::focusWidget() == cxGrid) {
            GridEnter();
            return true;
        }
        if (k->key() == Qt::Key_Delete && k->modifiers() == Qt::ControlModifier) {
            BorraLinea();
            return true;
        }
    }
    if (obj == cxGrid && ev->type() == QEvent::FocusIn && bEdit->isChecked() && mDet->isEmpty()) {
        mDet->append();
        mDet->post();
        cxGrid->setCurrentIndex(cxGrid->model()->index(0, colClave));
    }
    return TMForm::eventFilter(obj, ev);
}

void CapturaPuntos::BuscaClienteClave()
{
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(sqlClienteClave());
    q.bind(QStringLiteral("clave_cliente"), txtCliente->text());
    q.open();
    if (q.eof()) {
        q.close();
        MuestraAviso(avisoClienteClave(), QStringLiteral("Aviso"));
        txtCliente->setFocus();
        txtCliente->selectAll();
        return;
    }
    const int id = q.field(3).toInt();
    const QString nombre = q.field(0).toString();
    q.close();
    ClienteID = id;
    lblNomCliente->setText(nombre);
    fb::Query saldo(&m_s.fbDatabase(), &m_s.fbViewTrans());
    PuntosCliente = PuntosDisponibles = SaldoCliente(id, saldo);
    muestraSaldo();
    // The key road gives no way to take a lock over.
    if (LeeBloqueo(m_s, id).existe) {
        MensajeSistema(QStringLiteral("Otro usuario está generando una venta con este cliente, "
                                      "inténtelo más tarde"),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconStop);
        txtCliente->clear();
        lblNomCliente->clear();
        lbPuntosDisponibles->clear();
        txtCliente->setFocus();
        LiberarAlCerrar = false;
        ClienteID = 0;
        return;
    }
    BloqueaCliente(m_s, id, txtCliente->text(), nombre);
    LiberarAlCerrar = true;
    AlCambiarCliente();
}

QString CapturaPuntos::sqlClienteClave() const
{
    return QStringLiteral(
        "SELECT c.nombre, clave_cliente, limite_credito,c.cliente_id FROM clientes c JOIN "
        "claves_clientes v on v.cliente_id = c.cliente_id JOIN roles_claves_clientes r on "
        "r.rol_clave_cli_id = v.rol_clave_cli_id WHERE c.estatus = 'A' and clave_cliente = "
        ":clave_cliente");
}

QString CapturaPuntos::avisoClienteClave() const
{
    return QStringLiteral("La clave no existe.");
}

void CapturaPuntos::llenaClientes(fb::Query &q)
{
    mClientes->close();
    mClientes->clearFields();
    mClientes->addField(QStringLiteral("id"), FieldType::Integer);
    mClientes->addField(QStringLiteral("clave"), FieldType::String, 200);
    mClientes->addField(QStringLiteral("nombre"), FieldType::String, 200);
    mClientes->addField(QStringLiteral("LimCredito"), FieldType::Float);
    mClientes->addIndex(QStringLiteral("iClave"), QStringLiteral("clave"));
    mClientes->addIndex(QStringLiteral("iNombre"), QStringLiteral("nombre"));
    mClientes->open();
    q.open();
    mClientes->loadFromQuery(q);
    q.close();
}

void CapturaPuntos::CargaListaClientes()
{
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "SELECT cliente_id, (select upper(list(clave_cliente,'^')) from claves_clientes v join "
        "roles_claves_clientes r on r.rol_clave_cli_id=v.rol_clave_cli_id where v.cliente_id = "
        "c.cliente_id ) clave, nombre, limite_credito FROM clientes c WHERE c.estatus = 'A'"));
    llenaClientes(q);
}

void CapturaPuntos::bClienteClick()
{
    CargaListaClientes();
    if (txtCliente->isReadOnly())
        return;
    ListaCols = {QStringLiteral("clave,,&Clave,100"), QStringLiteral("nombre,,&Nombre,500")};
    if (MuestraListaDS(*mClientes, QStringLiteral("Listado de clientes")) == 1)
        CargarDatosCliente();
}

void CapturaPuntos::CargarDatosCliente()
{
    if (!PreguntaPerderCaptura())
        return;
    const int id = mClientes->fieldByName(QStringLiteral("id")).asInteger();
    const QString clave = mClientes->fieldByName(QStringLiteral("clave")).asString();
    const QString nombre = mClientes->fieldByName(QStringLiteral("nombre")).asString();
    tomaCliente(id, clave, nombre, true);
}

void CapturaPuntos::tomaCliente(int id, const QString &clave, const QString &nombre, bool)
{
    ClienteID = id;
    txtCliente->setText(clave);
    lblNomCliente->setText(nombre);
    fb::Query saldo(&m_s.fbDatabase(), &m_s.fbViewTrans());
    PuntosCliente = PuntosDisponibles = SaldoCliente(id, saldo);
    muestraSaldo();
    const BloqueoCliente b = LeeBloqueo(m_s, id);
    if (b.existe) {
        bool liberar = pregunta(QStringLiteral("Este cliente está siendo utilizado por ")
                                    + b.usuario + QStringLiteral(" creado el ")
                                    + b.fecha.toString(QStringLiteral("dd/MM/yyyy hh:mm"))
                                    + QStringLiteral(" ¿Desea liberarlo?"),
                                kCancelar);
        if (liberar) {
            // Only behind a fresh login.
            TfAcceso acceso(m_s, this);
            liberar = acceso.exec() == QDialog::Accepted;
        }
        if (!liberar) {
            txtCliente->clear();
            lblNomCliente->clear();
            lbPuntosDisponibles->setText(QStringLiteral("0"));
            txtCliente->setFocus();
            LiberarAlCerrar = false;
            ClienteID = 0;
            return;
        }
        LiberaClienteForzado(m_s, id);
    }
    BloqueaCliente(m_s, id, clave, nombre);
    LiberarAlCerrar = true;
    AlCambiarCliente();
}

void CapturaPuntos::LiberaCliente()
{
    if (ClienteID > 0)
        lar::LiberaCliente(m_s, ClienteID);
}

void CapturaPuntos::PreparaEdicion()
{
    const bool editando = bEdit->isChecked();
    gbCliente->setEnabled(editando);
    cxGrid->setEditTriggers(editando ? QAbstractItemView::DoubleClicked
                                           | QAbstractItemView::EditKeyPressed
                                           | QAbstractItemView::AnyKeyPressed
                                     : QAbstractItemView::NoEditTriggers);
    SigPartida = 1;
}

void CapturaPuntos::LimpiaCaptura(bool)
{
    lblNomCliente->clear();
    ClienteID = 0;
    PuntosCliente = 0;
    TotalPuntos = 0;
    PuntosDisponibles = 0;
    Partidas = 0;
    mDet->emptyTable();
    gbCliente->setEnabled(true);
    txtCliente->clear();
    MemDet->clear();
    lbPuntosDisponibles->setText(QStringLiteral("0"));
    vTotalPuntos->setText(QStringLiteral("0"));
    txtCliente->setFocus();
}

void CapturaPuntos::LimpiaLinea()
{
    if (mDet->isEmpty())
        return;
    if (!mDet->isEditing())
        mDet->edit();
    for (const char *f : {"lar_puntos_id",
                          "articulo_id",
                          "Unidades",
                          "Valor_Puntos",
                          "nombre",
                          "Total_Puntos",
                          "clave"})
        mDet->fieldByName(QLatin1String(f)).clear();
}

void CapturaPuntos::ClaveCambiada(const QString &texto)
{
    QString clave = texto;
    clave.remove(u' ').remove(u'\r').remove(u'\n');
    LimpiaLinea();
    if (clave.isEmpty()) {
        mDet->checkBrowseMode();
        return;
    }
    if (ClienteID == 0) {
        mDet->checkBrowseMode();
        MuestraAviso(QStringLiteral("Favor de Seleccionar un cliente."), QStringLiteral("Aviso"));
        txtCliente->setFocus();
        return;
    }
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setSql(sqlClaveArticulo());
    q.bind(QStringLiteral("c"), clave);
    q.open();
    const int id = q.eof() ? 0 : q.field(0).toInt();
    q.close();
    if (id == 0) {
        mDet->checkBrowseMode();
        MuestraAviso(avisoClaveArticulo(texto), QStringLiteral("Aviso"));
        cxGrid->setCurrentIndex(cxGrid->model()->index(mDet->recNo(), colClave));
        return;
    }
    AgregaArticulo(id, clave);
    mDet->checkBrowseMode();
    if (mDet->fieldByName(QStringLiteral("articulo_id")).asInteger() > 0) {
        cxGrid->setCurrentIndex(cxGrid->model()->index(mDet->recNo(), colUnidades));
    } else {
        LimpiaLinea();
        mDet->checkBrowseMode();
        cxGrid->setCurrentIndex(cxGrid->model()->index(mDet->recNo(), colClave));
    }
    cxGrid->setFocus();
}

QString CapturaPuntos::sqlClaveArticulo() const
{
    return QStringLiteral("select articulo_id from claves_articulos where clave_articulo=:c");
}

QString CapturaPuntos::avisoClaveArticulo(const QString &texto) const
{
    return QStringLiteral("El artículo con clave: '") + texto
           + QStringLiteral("' no existe, favor de verificar");
}

QString CapturaPuntos::sqlArticulo() const
{
    return QStringLiteral(
        "SELECT articulo_id,nombre, es_almacenable, estatus,unidad_venta, (SELECT valor_puntos "
        "FROM libres_articulos WHERE articulo_id=:id) as precio_puntos,(select "
        "costo_ultima_compra from get_ultcom_art(articulo_id)) costo_ultima_compra, "
        "contenido_unidad_compra,unidad_compra FROM articulos WHERE articulo_id=:id");
}

bool CapturaPuntos::ValidaArticulo(const DatosArticulo &a)
{
    if (!a.existe) {
        MuestraAviso(QStringLiteral("El artículo no existe"), QStringLiteral("Aviso"));
        return false;
    }
    if (a.estatus == u"B") {
        MuestraAviso(QStringLiteral("El artículo está dado de baja"), QStringLiteral("Aviso"));
        return false;
    }
    if (a.estatus == u"V" || a.estatus == u"S") {
        MuestraAviso(QStringLiteral("El artículo está suspendido para ventas."),
                     QStringLiteral("Aviso"));
        return false;
    }
    if (m_sentido == Sentido::Salida) {
        // The balance test before the missing price: an article without one reads 0.
        if (a.precioPuntos > PuntosDisponibles) {
            MuestraAviso(QStringLiteral("No tiene puntos suficientes."), QStringLiteral("Aviso"));
            return false;
        }
    }
    if (a.precioPuntos <= 0) {
        MuestraAviso(QStringLiteral("El artículo no tiene promoción de puntos."),
                     QStringLiteral("Aviso"));
        return false;
    }
    return true;
}

bool CapturaPuntos::ValidaCantidad(int)
{
    return true;
}

bool CapturaPuntos::AgregaArticulo(int articuloId, const QString &clave)
{
    const MemTable::State estado = mDet->state();
    try {
        fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
        q.setTrimChars(true);
        q.setSql(sqlArticulo());
        q.bind(QStringLiteral("id"), articuloId);
        q.open();
        DatosArticulo a;
        a.articuloId = articuloId;
        if (!q.eof() && !q.field(1).isNull()) {
            a.existe = true;
            a.nombre = q.field(1).toString();
            a.almacenable = q.field(2).toString();
            a.estatus = q.field(3).toString();
            a.unidadVenta = q.field(4).toString();
            a.precioPuntos = q.field(5).toInt();
            a.costoUltimaCompra = q.field(6).toDouble();
            a.contenidoUC = q.field(7).isNull() ? 1 : q.field(7).toDouble();
            a.unidadCompra = q.field(8).toString();
        }
        q.close();
        if (!ValidaArticulo(a)) {
            mDet->checkBrowseMode();
            return false;
        }
        if (!mDet->isActive())
            mDet->open();
        if (estado == MemTable::State::Edit) {
            mDet->edit();
        } else if (mDet->isEmpty() || !mDet->fieldByName(QStringLiteral("articulo_id")).isNull()) {
            mDet->checkBrowseMode();
            mDet->append();
        } else if (!mDet->isEditing()) {
            mDet->edit();
        }
        (*mDet)[QStringLiteral("articulo_id")] = articuloId;
        (*mDet)[QStringLiteral("Existencia")] = 0;
        (*mDet)[QStringLiteral("Disponibles")] = 0;
        (*mDet)[QStringLiteral("nombre")] = a.nombre;
        (*mDet)[QStringLiteral("clave")] = clave;
        (*mDet)[QStringLiteral("Unidades")] = 1;
        (*mDet)[QStringLiteral("UV")] = a.unidadVenta;
        (*mDet)[QStringLiteral("Valor_Puntos")] = a.precioPuntos;
        (*mDet)[QStringLiteral("Total_Puntos")] = a.precioPuntos;
        (*mDet)[QStringLiteral("CostoUltimaCompra")] = a.costoUltimaCompra;
        (*mDet)[QStringLiteral("ContUC")] = a.contenidoUC;
        (*mDet)[QStringLiteral("UC")] = a.unidadCompra;
        (*mDet)[QStringLiteral("Posted")] = QStringLiteral("N");
        (*mDet)[QStringLiteral("Partida")] = SigPartida;
        (*mDet)[QStringLiteral("Almacenable")] = a.almacenable == u"S";
        mDet->post();
        ++SigPartida;
    } catch (const std::exception &e) {
        ErrorConRollback(m_s, e);
    }
    return true;
}

void CapturaPuntos::UnidadesEnter(const QString &texto)
{
    if (mDet->isEmpty())
        return;
    const int unidades = texto.trimmed().toInt();
    if (unidades <= 0) {
        MuestraAviso(QStringLiteral("La cantidad especificada no es válida"),
                     QStringLiteral("Error"));
        return;
    }
    const int valor = mDet->fieldByName(QStringLiteral("Valor_Puntos")).asInteger();
    const int total = mDet->fieldByName(QStringLiteral("Total_Puntos")).asInteger();
    const bool contada = mDet->fieldByName(QStringLiteral("Posted")).asString() == u"S";
    const int necesarios = contada ? valor * unidades - total : valor * unidades;
    if (m_sentido == Sentido::Salida && necesarios > PuntosDisponibles) {
        MuestraAviso(QStringLiteral("Puntos insuficientes."), QStringLiteral("Error"));
        return;
    }
    if (!ValidaCantidad(unidades))
        return;
    mDet->edit();
    if (contada && necesarios > 0)
        AgregarLinea(u'N');
    (*mDet)[QStringLiteral("Unidades")] = unidades;
    (*mDet)[QStringLiteral("Total_Puntos")] = valor * unidades;
    mDet->post();
    cxGrid->setCurrentIndex(cxGrid->model()->index(mDet->recNo(), colUnidades));
    GridEnter();
}

void CapturaPuntos::GridEnter()
{
    if (!bEdit->isChecked() || mDet->isEmpty())
        return;
    const int col = cxGrid->currentIndex().column();
    const int articulo = mDet->fieldByName(QStringLiteral("articulo_id")).asInteger();
    if (col == colClave) {
        if (articulo > 0) {
            cxGrid->setCurrentIndex(cxGrid->model()->index(mDet->recNo(), colUnidades));
        } else {
            LimpiaLinea();
            mDet->checkBrowseMode();
        }
        return;
    }
    if (col == colUnidades && articulo > 0) {
        if (mDet->fieldByName(QStringLiteral("Unidades")).asInteger() <= 0) {
            MuestraAviso(QStringLiteral("La cantidad especificada no es válida"),
                         QStringLiteral("Error"));
            return;
        }
        if (!ValidaCantidad(mDet->fieldByName(QStringLiteral("Unidades")).asInteger()))
            return;
        mDet->last();
        if (mDet->fieldByName(QStringLiteral("articulo_id")).asInteger() > 0) {
            CalculaTotales();
            mDet->last();
            mDet->append();
            mDet->post();
        }
        cxGrid->setCurrentIndex(cxGrid->model()->index(mDet->recNo(), colClave));
    }
}

void CapturaPuntos::BorraLinea()
{
    if (!bEdit->isChecked() || mDet->isEmpty())
        return;
    mDet->deleteRecord();
    CalculaTotales();
}

void CapturaPuntos::CalculaTotales()
{
    mDet->checkBrowseMode();
    MemDet->clear();
    const int actual = mDet->recNo();
    TotalPuntos = 0;
    int lineas = 0, unidades = 0;
    mDet->disableControls();
    for (int r = 0; r < mDet->recordCount(); ++r) {
        mDet->setRecNo(r);
        if (mDet->fieldByName(QStringLiteral("articulo_id")).asInteger() <= 0)
            continue;
        TotalPuntos += mDet->fieldByName(QStringLiteral("Total_Puntos")).asInteger();
        ++lineas;
        unidades += mDet->fieldByName(QStringLiteral("Unidades")).asInteger();
        mDet->edit();
        (*mDet)[QStringLiteral("Posted")] = QStringLiteral("S");
        mDet->post();
        AgregarLinea(u'P');
    }
    if (actual >= 0)
        mDet->setRecNo(qMin(actual, mDet->recordCount() - 1));
    mDet->enableControls();
    // Spent points fall from the balance; given ones show the balance after the save.
    PuntosDisponibles
        = m_sentido == Sentido::Salida ? PuntosCliente - TotalPuntos : PuntosCliente + TotalPuntos;
    Partidas = lineas;
    pPartidas->setText(QStringLiteral("Partidas: ") + QString::number(lineas));
    pUnidades->setText(QStringLiteral("Unidades: ") + QString::number(unidades));
    muestraSaldo();
    vTotalPuntos->setText(numero(TotalPuntos));
}

void CapturaPuntos::AgregarLinea(QChar tipo)
{
    const QString nombre = mDet->fieldByName(QStringLiteral("nombre")).asString();
    const int total = mDet->fieldByName(QStringLiteral("Total_Puntos")).asInteger();
    const int unidades = mDet->fieldByName(QStringLiteral("Unidades")).asInteger();
    const int valor = mDet->fieldByName(QStringLiteral("Valor_Puntos")).asInteger();
    const bool normal = tipo == u'P';
    if (!normal && nombre.isEmpty())
        return;
    // A name of 36 characters takes one more column than the others, as on paper.
    const QString linea
        = normal ? nombre.left(36).leftJustified(35) + QString::number(total).rightJustified(11)
                 : nombre.left(36).leftJustified(36)
                       + (QStringLiteral("-") + QString::number(total)).rightJustified(11);
    QString texto = linea.toHtmlEscaped().replace(u' ', QStringLiteral("&nbsp;"));
    if (unidades > 1)
        texto += QStringLiteral("<br>&nbsp;&nbsp;") + QString::number(unidades)
                 + QStringLiteral(" x ") + QString::number(valor);
    MemDet->append(normal ? QStringLiteral("<span style=\"color:black\">%1</span>").arg(texto)
                          : QStringLiteral("<span style=\"color:red\">%1</span>").arg(texto));
}

QString CapturaPuntos::ticket() const
{
    return MemDet->toPlainText();
}

void CapturaPuntos::ConfiguraSelector(Tfcat_articulos_lista &) {}

void CapturaPuntos::bListaArtClick()
{
    if (!bEdit->isChecked() || !bListaArt->isEnabled()) {
        MuestraAviso(QStringLiteral("No está modificando, no se permite agregar artículos."),
                     QStringLiteral("Aviso"));
        return;
    }
    if (mDet->isActive())
        CalculaTotales();
    if (ClienteID == 0) {
        MuestraAviso(QStringLiteral("Primero debe seleccionar un cliente."),
                     QStringLiteral("Aviso"));
        txtCliente->clear();
        txtCliente->setFocus();
        return;
    }
    if (!PuedeAgregar())
        return;
    Tfcat_articulos_lista lista(m_s, this);
    ConfiguraSelector(lista);
    lista.exec();
    CalculaTotales();
}

QList<LineaCanje> CapturaPuntos::lineas()
{
    mDet->checkBrowseMode();
    QList<LineaCanje> r;
    for (int i = 0; i < mDet->recordCount(); ++i) {
        auto v = [&](const char *f) {
            return mDet->valueAt(i, mDet->fieldIndex(QLatin1String(f)));
        };
        LineaCanje l;
        l.articuloId = v("articulo_id").toInt();
        l.clave = v("clave").toString();
        l.nombre = v("nombre").toString();
        l.unidades = v("Unidades").toInt();
        l.valorPuntos = v("Valor_Puntos").toInt();
        l.totalPuntos = v("Total_Puntos").toInt();
        l.partida = v("Partida").toInt();
        l.contUC = v("ContUC").isNull() ? 1 : v("ContUC").toDouble();
        l.costoUltimaCompra = v("CostoUltimaCompra").toDouble();
        l.almacenable = v("Almacenable").toBool();
        r.append(l);
    }
    return r;
}

bool CapturaPuntos::FormKeyDown(QKeyEvent *ev)
{
    if (ev->modifiers() == Qt::NoModifier && ev->key() == Qt::Key_Escape) {
        close();
        return true;
    }
    if (ev->modifiers() == Qt::NoModifier && ev->key() == Qt::Key_F4 && bListaArt->isEnabled()) {
        bListaArt->click();
        return true;
    }
    if (ev->modifiers() == Qt::ControlModifier && ev->key() == Qt::Key_M && bEdit->isEnabled()
        && !bEdit->isChecked()) {
        bEdit->click();
        return true;
    }
    return TMForm::FormKeyDown(ev);
}

void CapturaPuntos::closeEvent(QCloseEvent *ev)
{
    if (bEdit->isChecked()) {
        const bool salir = pregunta(QStringLiteral("¿Desea cancelar la edición de la ")
                                        + windowTitle() + QStringLiteral("?"),
                                    QStringLiteral("Salir"));
        // The lock goes whichever the answer: a No keeps the capture without it.
        LiberaCliente();
        if (!salir) {
            ev->ignore();
            return;
        }
    }
    if (LiberarAlCerrar)
        LiberaCliente();
    Timer1->stop();
    TMForm::closeEvent(ev);
}

// ---------------------------------------------------------------------------------
// TfVentasPuntos

TfVentasPuntos::TfVentasPuntos(Sesion &sesion, QWidget *parent)
    : CapturaPuntos(sesion, Sentido::Salida, parent)
{
    setObjectName(QStringLiteral("TfVentasPuntos"));
    setWindowTitle(QStringLiteral("Canje de puntos"));
    bNew = Boton(QStringLiteral("bNew"), QStringLiteral("Nuevo"));
    bSave = Boton(QStringLiteral("bSave"), QStringLiteral("Guardar"));
    bSaveClose = Boton(QStringLiteral("bSaveClose"), QStringLiteral("Guardar y cerrar (F11)"));
    bSaveNew = Boton(QStringLiteral("bSaveNew"), QStringLiteral("Guardar y nuevo (F12)"));
    bPrint = Boton(QStringLiteral("bPrint"), QStringLiteral("Imprimir"));
    bCancelar = Boton(QStringLiteral("bCancelar"), QStringLiteral("Cancelar venta"));
    bUp = Boton(QStringLiteral("bUp"), QStringLiteral("Anterior"));
    bDown = Boton(QStringLiteral("bDown"), QStringLiteral("Siguiente"));
    connect(bNew, &QPushButton::clicked, this, &TfVentasPuntos::bNewClick);
    connect(bSaveClose, &QPushButton::clicked, this, &TfVentasPuntos::bSaveCloseClick);
    connect(bSaveNew, &QPushButton::clicked, this, &TfVentasPuntos::bSaveNewClick);
    connect(bPrint, &QPushButton::clicked, this, &TfVentasPuntos::bPrintClick);
    connect(bCancelar, &QPushButton::clicked, this, &TfVentasPuntos::bCancelarClick);
    connect(bUp, &QPushButton::clicked, this, &TfVentasPuntos::bUpClick);
    connect(bDown, &QPushButton::clicked, this, &TfVentasPuntos::bDownClick);
    // The list enables the save commands for a new capture.
    for (QPushButton *b : {bSave, bSaveClose, bSaveNew})
        b->setEnabled(false);

    mAlmacenes = new MemTable(this);
    cmbAlmacen = new LookupCombo(this);
    cmbAlmacen->setObjectName(QStringLiteral("cmbAlmacen"));
    cmbAlmacen->setAccessibleName(QStringLiteral("Almacén"));
    cmbAlmacen->installEventFilter(this);
    imgCancelado = new QLabel(QStringLiteral("CANCELADO"), this);
    imgCancelado->setObjectName(QStringLiteral("imgCancelado"));
    imgCancelado->setStyleSheet(QStringLiteral("color: red; font-weight: bold; font-size: 18pt"));
    imgCancelado->setVisible(false);
    vFolio = new QLineEdit(this);
    vFolio->setObjectName(QStringLiteral("vFolio"));
    vFolio->setMaxLength(9);
    vFolio->setVisible(false);
    vFolioEntrada = new QLineEdit(this);
    vFolioEntrada->setObjectName(QStringLiteral("vFolioEntrada"));
    vFolioEntrada->setVisible(false);

    auto *raiz = new QVBoxLayout(this);
    auto *barra = new QHBoxLayout;
    for (QPushButton *b : {bNew, bSave, bSaveClose, bSaveNew, bPrint, bCancelar, bListaArt})
        barra->addWidget(b);
    barra->addStretch(1);
    barra->addWidget(bUp);
    barra->addWidget(bDown);
    barra->addWidget(bEdit);
    raiz->addLayout(barra);
    auto *cabeza = new QHBoxLayout;
    cabeza->addWidget(gbCliente, 3);
    auto *almacen = new QVBoxLayout;
    almacen->addWidget(new QLabel(QStringLiteral("Almacén"), this));
    almacen->addWidget(cmbAlmacen);
    cabeza->addLayout(almacen, 1);
    auto *puntos = new QGridLayout;
    puntos->addWidget(new QLabel(QStringLiteral("Puntos disponibles"), this), 0, 0);
    puntos->addWidget(lbPuntosDisponibles, 0, 1);
    puntos->addWidget(new QLabel(QStringLiteral("Total de puntos"), this), 1, 0);
    puntos->addWidget(vTotalPuntos, 1, 1);
    cabeza->addLayout(puntos, 1);
    cabeza->addWidget(imgCancelado);
    raiz->addLayout(cabeza);
    raiz->addWidget(MemDet, 1);
    raiz->addWidget(cxGrid, 2);
    raiz->addWidget(StatusBar1);
    resize(900, 620);

    const quint32 acceso = sesion.Permisos[73];
    Acceso = acceso;
    for (QPushButton *b : {bNew})
        b->setEnabled(acceso & 2);
    bCancelar->setEnabled(acceso & 4);
    bPrint->setEnabled(acceso & 8);
    bListaArt->setEnabled(acceso & 16);
    connect(cmbAlmacen, &QComboBox::currentIndexChanged, this, &TfVentasPuntos::almacenCambiado);
    // Enter belongs to the customer box and the grid, never to a default button.
    for (QPushButton *b : findChildren<QPushButton *>()) {
        b->setAutoDefault(false);
        b->setDefault(false);
    }
    terminaDiseno();
}

TfVentasPuntos::~TfVentasPuntos() = default;

int TfVentasPuntos::almacen() const
{
    const QVariant v = cmbAlmacen->keyValue();
    return v.isValid() ? v.toInt() : -1;
}

void TfVentasPuntos::showEvent(QShowEvent *ev)
{
    CapturaPuntos::showEvent(ev);
    if (!m_mostrada) {
        m_mostrada = true;
        FormShow();
    }
}

void TfVentasPuntos::LlenaAlmacenes()
{
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    LlenaCombo(QStringLiteral("almacenes"),
               QStringLiteral("almacen_id"),
               QStringLiteral("nombre"),
               q,
               *mAlmacenes,
               cmbAlmacen);
}

void TfVentasPuntos::FormShow()
{
    FolderFormas = lar::FolderFormas(m_s);
    ArticulosSinExistencia = LeeRegistro(m_s, QStringLiteral("Artículos sin existencia")) == u"S";
    {
        fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
        q.setTrimChars(true);
        q.setSql(QStringLiteral(
            "select valor from registry where nombre='ACEPTAR_SIN_EXIS' and padre_id= (select "
            "elemento_id from registry where nombre='PreferenciasEmpresa' and padre_id=0)"));
        q.open();
        AceptaSinExistencia = !q.eof() && q.field(0).toString() == u"S";
        q.close();
    }
    Timer1->start(1000);
    pReloj->setText(QDateTime::currentDateTime().toString(QStringLiteral("dd/MM/yyyy hh:mm")));
    LiberarAlCerrar = true;
    m_almacenAnterior = -2;
    LlenaAlmacenes();
    const QString puntos = LeeRegistro(m_s, QStringLiteral("Almacen Puntos"));
    if (!puntos.isEmpty() && puntos != u"--1") {
        cmbAlmacen->setKeyValue(puntos.toInt());
    } else {
        fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
        q.setSql(QStringLiteral("SELECT almacen_id FROM almacenes WHERE es_predet = 'S'"));
        q.open();
        if (!q.eof())
            cmbAlmacen->setKeyValue(q.field(0).toInt());
        q.close();
    }
    m_almacenAnterior = almacen();
    if (EsNueva) {
        bEdit->setChecked(true);
        PreparaEdicion();
    } else {
        CargaVenta();
    }
    bEdit->setVisible(EsNueva);
    if (txtCliente->isEnabled())
        txtCliente->setFocus();
    UsarBoleto = LeeRegistro(m_s, QStringLiteral("UsarArtBoleto")) == u"S";
    ArtBoletoID = UsarBoleto ? LeeRegistro(m_s, QStringLiteral("ArtBoleto")).toInt() : 0;
}

void TfVentasPuntos::almacenCambiado()
{
    if (m_almacenAnterior == -2 || !bEdit->isChecked())
        return;
    const int nuevo = almacen();
    if (nuevo == m_almacenAnterior)
        return;
    m_almacenAnterior = nuevo;
    if (mDet->isEmpty())
        return;
    if (!pregunta(kPerder, kCancelar))
        return; // the new warehouse stays, and the lines too
    LimpiaCaptura(false);
    PreparaEdicion();
    // The customer of the list's current row comes back. The capture's own lock was not
    // released by the clearing, so it is found and offered for release behind a login.
    // Never opened, the list has no row to take (a customer typed by key).
    if (!mClientes->isEmpty())
        CargarDatosCliente();
}

bool TfVentasPuntos::PuedeAgregar()
{
    if (almacen() == -1) {
        MuestraAviso(QStringLiteral("Primero debe seleccionar un almacén."),
                     QStringLiteral("Aviso"));
        cmbAlmacen->setFocus();
        return false;
    }
    return true;
}

void TfVentasPuntos::ConfiguraSelector(Tfcat_articulos_lista &lista)
{
    lista.ConfiguraCanje(
        almacen(), PuntosDisponibles, [this](int id, const QString &clave, double) {
            const bool ok = AgregaArticulo(id, clave);
            CalculaTotales();
            return ok;
        });
}

double TfVentasPuntos::ExistenciaArticulo(int articulo, int cantidad)
{
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setSql(QStringLiteral("execute procedure LAR_CALC_DISP_ARTALM :art,:alm"));
    q.bind(QStringLiteral("art"), articulo);
    q.bind(QStringLiteral("alm"), almacen());
    q.execute();
    double disponible = q.field(2).toDecimal().toDouble();
    // The grid's lines of the same article.
    bool hay = false;
    int suma = 0;
    for (int r = 0; r < mDet->recordCount(); ++r) {
        if (mDet->valueAt(r, mDet->fieldIndex(QStringLiteral("articulo_id"))).toInt() == articulo) {
            hay = true;
            suma += mDet->valueAt(r, mDet->fieldIndex(QStringLiteral("Unidades"))).toInt();
        }
    }
    if (hay)
        disponible -= cantidad == 0 ? suma + 1 : cantidad;
    return disponible;
}

bool TfVentasPuntos::ValidaArticulo(const DatosArticulo &a)
{
    if (!a.existe)
        return CapturaPuntos::ValidaArticulo(a);
    if (a.almacenable == u"N" && !ArticulosSinExistencia) {
        if (a.articuloId == ArtBoletoID && ArtBoletoID > 0)
            return true;
        MensajeSistema(QStringLiteral("El artículo no es almacenable."),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        return false;
    }
    if (!CapturaPuntos::ValidaArticulo(a))
        return false;
    if (!AceptaSinExistencia && a.almacenable == u"S" && ExistenciaArticulo(a.articuloId, 0) < 0) {
        MuestraAviso(QStringLiteral("No hay existencia suficiente del artículo."),
                     QStringLiteral("Aviso"));
        return false;
    }
    return true;
}

bool TfVentasPuntos::ValidaCantidad(int unidades)
{
    if (AceptaSinExistencia || !mDet->fieldByName(QStringLiteral("Almacenable")).asBoolean())
        return true;
    const int articulo = mDet->fieldByName(QStringLiteral("articulo_id")).asInteger();
    // Measured against the stock alone, not the other lines of the article.
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setSql(QStringLiteral("execute procedure LAR_CALC_DISP_ARTALM :art,:alm"));
    q.bind(QStringLiteral("art"), articulo);
    q.bind(QStringLiteral("alm"), almacen());
    q.execute();
    if (q.field(2).toDecimal().toDouble() - unidades < 0) {
        MuestraAviso(QStringLiteral("No hay existencia suficiente del artículo."),
                     QStringLiteral("Aviso"));
        mDet->edit();
        (*mDet)[QStringLiteral("Unidades")] = 1;
        mDet->post();
        cxGrid->setCurrentIndex(cxGrid->model()->index(mDet->recNo(), colUnidades));
        return false;
    }
    return true;
}

bool TfVentasPuntos::GuardaVenta()
{
    if (Guardada)
        return true;
    if (!bEdit->isChecked())
        return true;
    CalculaTotales();
    Canje c;
    c.clienteId = ClienteID;
    c.txtCliente = txtCliente->text();
    c.almacenId = almacen();
    c.esNueva = EsNueva;
    c.metodoCosteo = MetodoCosteo;
    for (const LineaCanje &l : lineas()) {
        if (l.articuloId > 0 || !l.clave.isEmpty())
            c.lineas.append(l);
    }
    // A trailing empty row of the grid is no line.
    lar::GuardaVenta g(m_s);
    const lar::GuardaVenta::Resultado r = g.guarda(c);
    if (!r.aviso.vacio()) {
        MuestraAviso(r.aviso.texto, r.aviso.clase);
        if (r.aviso.foco == AvisoCanje::Cliente) {
            txtCliente->clear();
            txtCliente->setFocus();
        } else if (r.aviso.foco == AvisoCanje::Almacen) {
            cmbAlmacen->setFocus();
        }
        return false;
    }
    if (!r.error.isEmpty()) {
        MensajeSistema(r.error, QStringLiteral("Error"), mb::IconStop);
        return false;
    }
    vFolio->setText(FolioNormaliza(r.folioDocto));
    DoctoID = r.doctoId;
    Guardada = true;
    return true;
}

void TfVentasPuntos::bPrintClick()
{
    if (!GuardaVenta())
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int fila = mDet->recNo();
    mDet->disableControls();
    [&] {
        TfImprimirForma f(m_s, this);
        f.Carpeta = QStringLiteral("Puntos");
        f.Subcarpeta = QStringLiteral("Ventas");
        f.Documento = QStringLiteral("Venta ") + vFolio->text();
        f.FolderId = FolderFormas;
        f.DoctoId = DoctoID;
        if (UsarBoleto) {
            if (LeeRegistro(m_s, QStringLiteral("FormaBoleto")).isEmpty()) {
                MensajeSistema(QStringLiteral("Debe seleccionar una forma de impresión para el "
                                              "boleto en configuración."),
                               QStringLiteral("Aviso del sistema"),
                               mb::IconInformation);
                return;
            }
            f.Copias = lar::GuardaVenta::unidadesBoleto(
                lineas(), LeeRegistro(m_s, QStringLiteral("ArtBoleto")).toInt());
        }
        QApplication::restoreOverrideCursor();
        f.exec();
        QApplication::setOverrideCursor(Qt::WaitCursor);
        bEdit->setChecked(false);
        LiberaCliente();
        LiberarAlCerrar = true;
    }();
    QApplication::restoreOverrideCursor();
    mDet->enableControls();
    if (fila >= 0 && fila < mDet->recordCount())
        mDet->setRecNo(fila);
}

void TfVentasPuntos::bSaveCloseClick()
{
    if (!GuardaVenta())
        return;
    bPrintClick();
    bEdit->setChecked(false);
    LiberaCliente();
    LiberarAlCerrar = true;
    close();
}

void TfVentasPuntos::bSaveNewClick()
{
    if (!GuardaVenta())
        return;
    bPrintClick();
    bNewClick();
}

void TfVentasPuntos::bNewClick()
{
    EsNueva = true;
    bEdit->setVisible(true);
    bEdit->setChecked(true);
    LiberaCliente();
    LimpiaCaptura(true);
    LlenaAlmacenes();
    DoctoID = 0;
    Guardada = false;
    vFolio->clear();
    vFolioEntrada->clear();
    imgCancelado->setVisible(false);
    LiberarAlCerrar = true;
    for (QPushButton *b : {bSave, bSaveClose, bSaveNew})
        b->setEnabled(Acceso & 2);
    PreparaEdicion();
}

void TfVentasPuntos::CargaVenta()
{
    PreparaEdicion();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    MemDet->clear();
    mDet->emptyTable();
    const VentaCargada v = lar::CargaVenta(m_s, DoctoID);
    ClienteID = v.clienteId;
    m_almacenAnterior = -2;
    if (v.almacen == u"--1")
        cmbAlmacen->setCurrentIndex(-1);
    else
        cmbAlmacen->setKeyValue(v.almacen.toInt());
    m_almacenAnterior = almacen();
    txtCliente->setText(v.cliente);
    lblNomCliente->setText(v.cliente);
    TotalPuntos = 0;
    for (const LineaCanje &l : v.lineas) {
        mDet->append();
        (*mDet)[QStringLiteral("Valor_Puntos")] = l.valorPuntos;
        (*mDet)[QStringLiteral("Total_Puntos")] = l.totalPuntos;
        (*mDet)[QStringLiteral("Unidades")] = l.unidades;
        (*mDet)[QStringLiteral("nombre")] = l.nombre;
        (*mDet)[QStringLiteral("clave")] = l.clave;
        (*mDet)[QStringLiteral("articulo_id")] = l.articuloId;
        (*mDet)[QStringLiteral("Partida")] = l.partida;
        mDet->post();
        TotalPuntos += l.totalPuntos;
        AgregarLinea(u'P');
    }
    imgCancelado->setVisible(v.cancelada);
    PuntosCliente = PuntosDisponibles = v.saldo;
    muestraSaldo();
    vTotalPuntos->setText(numero(TotalPuntos));
    mDet->first();
    QApplication::restoreOverrideCursor();
}

void TfVentasPuntos::bCancelarClick()
{
    if (DoctoID == 0)
        return;
    if (imgCancelado->isVisible()) {
        MuestraAviso(QStringLiteral("El documento ya está cancelado."), QStringLiteral("Aviso"));
        return;
    }
    if (!pregunta(QStringLiteral("¿Desea cancelar la venta?"), kCancelar))
        return;
    const QString error = CancelaVenta(m_s, DoctoID);
    if (!error.isEmpty()) {
        MensajeSistema(error, QStringLiteral("Error"), mb::IconStop);
        return;
    }
    imgCancelado->setVisible(true);
}

void TfVentasPuntos::mueve(int distancia)
{
    if (bEdit->isChecked() || !MueveLista)
        return;
    const int docto = MueveLista(distancia);
    if (docto == 0)
        return;
    DoctoID = docto;
    CargaVenta();
}

void TfVentasPuntos::bUpClick()
{
    mueve(-1);
}

void TfVentasPuntos::bDownClick()
{
    mueve(1);
}

void TfVentasPuntos::AlCambiarCliente()
{
    // The customer taken, the warehouse comes next, or the lines.
    if (cmbAlmacen->isEnabled() && cmbAlmacen->isVisible())
        cmbAlmacen->setFocus();
    else
        cxGrid->setFocus();
}

bool TfVentasPuntos::eventFilter(QObject *obj, QEvent *ev)
{
    if (obj == cmbAlmacen && ev->type() == QEvent::KeyPress) {
        const int tecla = static_cast<QKeyEvent *>(ev)->key();
        if ((tecla == Qt::Key_Return || tecla == Qt::Key_Enter) && almacen() != -1) {
            cxGrid->setFocus();
            return true;
        }
    }
    return CapturaPuntos::eventFilter(obj, ev);
}

bool TfVentasPuntos::FormKeyDown(QKeyEvent *ev)
{
    if (ev->modifiers() == Qt::NoModifier && ev->key() == Qt::Key_F11 && bSaveClose->isEnabled()) {
        bSaveClose->click();
        return true;
    }
    if (ev->modifiers() == Qt::NoModifier && ev->key() == Qt::Key_F12 && bSaveNew->isEnabled()) {
        bSaveNew->click();
        return true;
    }
    if (ev->modifiers() == Qt::ControlModifier && ev->key() == Qt::Key_G && bSave->isEnabled())
        return true; // the command has no action
    return CapturaPuntos::FormKeyDown(ev);
}

} // namespace lar
