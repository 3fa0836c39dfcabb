#include "ventaspuntoslista.h"

#include "ventaspuntos.h"

#include "core/fmain.h"
#include "core/ids.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "shared/periodo.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/wordsearch.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDateEdit>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

namespace {

const QString kAviso = QStringLiteral("Aviso del sistema");

QString mes(int m)
{
    return QLocale(QLocale::Spanish, QLocale::Mexico).standaloneMonthName(m);
}

QString fecha(const QDate &d)
{
    return d.toString(QStringLiteral("dd/MM/yyyy"));
}

// A range as the viewer words it.
QString textoRango(const QDate &a, const QDate &b)
{
    if (a == b)
        return fecha(a);
    const bool inicioMes = a.day() == 1;
    const bool finMes = b.day() == b.daysInMonth();
    if (inicioMes && finMes && a.year() == b.year() && a.month() == b.month())
        return mes(a.month()) + QStringLiteral(" del ") + QString::number(a.year());
    if (inicioMes && finMes && a.month() == 1 && b.month() == 12 && a.year() == b.year())
        return QString::number(a.year());
    if (inicioMes && finMes)
        return mes(a.month()) + u'/' + QString::number(a.year()) + QStringLiteral(" a ")
               + mes(b.month()) + u'/' + QString::number(b.year());
    return fecha(a) + QStringLiteral(" al ") + fecha(b);
}

QDate fechaTexto(const QString &texto, const QDate &hoy)
{
    const QStringList p = texto.trimmed().split(u'/');
    if (p.size() < 3)
        return hoy;
    const QDate d(p.at(2).toInt(), p.at(1).toInt(), p.at(0).toInt());
    return d.isValid() ? d : hoy;
}

} // namespace

int SerialFecha(const QDate &f)
{
    return f.isValid() ? int(QDate(1899, 12, 30).daysTo(f)) : 0;
}

QDate FechaSerial(int serial)
{
    return QDate(1899, 12, 30).addDays(serial);
}

QDate PeriodoVista::fecha1(const QDate &hoy) const
{
    switch (tipo) {
    case 1:
        return hoy.addDays(-meses * 30);
    case 2:
        return ini;
    case 3:
        return hoy.addDays(-dias);
    case 4:
        return capturaIni;
    case 5:
        return hoy;
    default:
        return {};
    }
}

QDate PeriodoVista::fecha2(const QDate &hoy) const
{
    switch (tipo) {
    case 2:
        return fin;
    case 4:
        return capturaFin;
    case 1:
    case 3:
    case 5:
        return hoy;
    default:
        return {};
    }
}

QString PeriodoVista::texto(const QDate &hoy)
{
    switch (tipo) {
    case 1:
        return meses == 1 ? QStringLiteral("Último mes")
                          : QStringLiteral("Últimos %1 meses").arg(meses);
    case 2:
        return textoRango(ini.isValid() ? ini : hoy, fin.isValid() ? fin : hoy);
    case 3:
        return dias == 1 ? QStringLiteral("Último día")
                         : QStringLiteral("Últimos %1 días").arg(dias);
    case 4:
        if (!capturaIni.isValid() || !capturaFin.isValid() || capturaFin < capturaIni) {
            tipo = 0;
            return QStringLiteral(" ");
        }
        return textoRango(capturaIni, capturaFin);
    case 5:
        return QStringLiteral("Hoy: ") + fecha(hoy);
    default:
        return QStringLiteral("Todos los meses");
    }
}

QString PeriodoVista::valor() const
{
    return QStringLiteral("%1;%2;%3;%4;%5")
        .arg(tipo)
        .arg(meses)
        .arg(dias)
        .arg(tipo == 2 ? SerialFecha(ini) : 0)
        .arg(tipo == 2 ? SerialFecha(fin) : 0);
}

void PeriodoVista::deValor(const QString &v, const QDate &hoy)
{
    const QStringList p = v.split(u';');
    ini = fin = hoy;
    if (p.size() < 3)
        return;
    tipo = p.at(0).toInt();
    meses = p.at(1).toInt();
    dias = p.at(2).toInt();
    if (p.size() >= 5 && p.at(3).toInt() > 0) {
        ini = FechaSerial(p.at(3).toInt());
        fin = FechaSerial(p.at(4).toInt());
    }
}

PeriodoVista LeePeriodo(Sesion &s)
{
    PeriodoVista p;
    const QDate hoy = QDate::currentDate();
    p.capturaIni = p.capturaFin = hoy;
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "select nombre,valor from registry where padre_id= (select elemento_id from registry "
        "where nombre='PeriodoCaptura del Registry' and padre_id= (select elemento_id from "
        "registry where nombre='Inventarios' and padre_id= (select elemento_id from registry "
        "where padre_id=0 and nombre='PreferenciasEmpresa')))"));
    for (q.open(); !q.eof(); q.next()) {
        if (q.field(0).toString() == u"FechaInicial")
            p.capturaIni = fechaTexto(q.field(1).toString(), hoy);
        else if (q.field(0).toString() == u"FechaFinal")
            p.capturaFin = fechaTexto(q.field(1).toString(), hoy);
    }
    q.close();

    // The user's own node is in the installation's registry, beside <user>/Microsip.
    s.ConfigInicia();
    fb::Query u(&s.fbConfig(), &s.fbConfigTrans());
    u.setSql(QStringLiteral(
        "select valor from registry where nombre='Período' and padre_id= (select elemento_id "
        "from registry where nombre='VisorENTRADAS' and padre_id= (select elemento_id from "
        "registry where nombre='Inventarios' and padre_id= (select elemento_id from registry r "
        "where padre_id=0 and nombre=current_user)))"));
    u.open();
    p.deValor(u.eof() ? QString() : u.field(0).toTrimmed(), hoy);
    u.close();
    s.ConfigCommit();
    return p;
}

QString GuardaPeriodo(Sesion &s, const PeriodoVista &p)
{
    try {
        fb::TransactionGuard guardia(s.fbConfigTrans());
        fb::Query q(&s.fbConfig(), &s.fbConfigTrans());
        fb::Query usuario(&s.fbConfig(), &s.fbConfigTrans());
        usuario.setSql(QStringLiteral("select current_user from rdb$database"));
        usuario.open();
        const QString yo = usuario.field(0).toTrimmed();
        usuario.close();
        int padre = 0;
        const QList<QPair<QString, QString>> ruta{
            {yo, QStringLiteral("L")},
            {QStringLiteral("Inventarios"), QStringLiteral("L")},
            {QStringLiteral("VisorENTRADAS"), QStringLiteral("L")},
            {QStringLiteral("Período"), QStringLiteral("V")}};
        for (const auto &[nombre, tipo] : ruta) {
            q.setSql(QStringLiteral(
                "select elemento_id from registry where padre_id=:padre and nombre=:nombre"));
            q.bind(QStringLiteral("padre"), padre);
            q.bind(QStringLiteral("nombre"), nombre);
            q.open();
            if (!q.eof()) {
                padre = q.field(0).toInt();
                q.close();
                continue;
            }
            q.close();
            q.setSql(QStringLiteral("INSERT INTO registry (nombre, tipo, padre_id) VALUES "
                                    "(:nombre, :tipo, :padre_id)"));
            q.bind(QStringLiteral("nombre"), nombre);
            q.bind(QStringLiteral("tipo"), tipo);
            q.bind(QStringLiteral("padre_id"), padre);
            q.execute();
            q.setSql(QStringLiteral(
                "select elemento_id from registry where padre_id=:padre and nombre=:nombre"));
            q.bind(QStringLiteral("padre"), padre);
            q.bind(QStringLiteral("nombre"), nombre);
            q.open();
            padre = q.field(0).toInt();
            q.close();
        }
        q.setSql(
            QStringLiteral("UPDATE registry SET valor = :valor WHERE elemento_id = :elemento_id"));
        q.bind(QStringLiteral("valor"), p.valor());
        q.bind(QStringLiteral("elemento_id"), padre);
        if (q.execute() == 0)
            throw fb::Error(QStringLiteral("No fue posible actualizar la tabla: registry"));
        guardia.commit();
    } catch (const fb::Error &e) {
        return QStringLiteral("No fue posible guardar el periodo de la vista: ") + e.message();
    }
    return {};
}

QString PuedeAbrirCanjes(Sesion &s)
{
    const int concepto = LeeRegistro(s, QStringLiteral("Concepto Salida Puntos")).toInt();
    if (concepto <= 0)
        return QStringLiteral("Indique un concepto de salida de inventarios en la configuración "
                              "del sistema.");
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setTrimChars(true);
    if (ExisteCampo(s, QStringLiteral("DOCTOS_PV"), QStringLiteral("SUCURSAL_ID"))) {
        // Read as Microsip's own screens do; the value isn't needed here.
        q.setSql(
            QStringLiteral("SELECT  s.sucursal_id FROM sucursales s WHERE s.es_matriz = true"));
        q.open();
        q.close();
    }
    if (ExisteTabla(s, QStringLiteral("FOLIOS_CONCEPTOS")))
        q.setSql(
            QStringLiteral("SELECT consecutivo FROM FOLIOS_CONCEPTOS WHERE concepto_id = :cons"));
    else
        q.setSql(QStringLiteral("SELECT sig_folio FROM conceptos_in WHERE concepto_in_id = :cons"));
    q.bind(QStringLiteral("cons"), concepto);
    q.open();
    const bool sinSerie = q.eof() || q.field(0).isNull() || q.field(0).toTrimmed().isEmpty();
    q.close();
    if (sinSerie)
        return QStringLiteral("Es necesario asignar una serie y consecutivo al concepto de salida "
                              "de inventarios en Microsip.");
    return {};
}

QString ValidaPreferencias(Sesion &s, QChar &metodo)
{
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "select valor from registry where nombre='METODO_COSTEO' and padre_id= (select "
        "elemento_id from registry where padre_id=0 and nombre='PreferenciasEmpresa')"));
    q.open();
    const QString valor = q.eof() ? QString() : q.field(0).toString();
    q.close();
    metodo = valor.isEmpty() ? QChar() : valor.at(0);
    if (metodo != u'C' && metodo != u'P' && metodo != u'U')
        return QStringLiteral("Primero debe definir el método de costeo en las preferencias de "
                              "inventarios de Microsip");
    q.setSql(QStringLiteral("SELECT concepto_in_id FROM conceptos_in WHERE concepto_in_id=:con"));
    q.bind(QStringLiteral("con"), LeeRegistro(s, QStringLiteral("Concepto Salida Puntos")).toInt());
    q.open();
    const bool hay = !q.eof();
    q.close();
    if (!hay)
        return QStringLiteral("Primero debe configurar el concepto de inventario para los puntos.");
    return {};
}

QString SqlListaCanjes(bool conFechas, const QString &estatus, bool conAlmacen)
{
    QString sql = QStringLiteral(
        "SELECT p.CLIENTE_ID,p.DOCTO_ID,p.FOLIO,d.ALMACEN_ID,L.NOMBRE as almacen,C.NOMBRE as "
        "cliente,SUM(VALOR_PUNTOS) as puntos,p.fecha,p.naturaleza,p.Tipo_docto FROM LAR_PUNTOS P "
        "LEFT JOIN clientes C on C.cliente_id=P.cliente_id LEFT JOIN doctos_in D on "
        "d.DOCTO_IN_ID=p.DOCTO_ID LEFT JOIN almacenes L ON D.almacen_ID=l.almacen_id WHERE "
        "p.TIPO_DOCTO IN ('C','X')");
    if (conFechas)
        sql += QStringLiteral(" AND cast (p.fecha as date)  between :fecha1 and :fecha2");
    if (!estatus.isEmpty()) {
        QString e = estatus;
        sql += QStringLiteral(" AND p.tipo_docto='") + e.replace(u'\'', QStringLiteral("''"))
               + u'\'';
    }
    if (conAlmacen)
        sql += QStringLiteral(" AND d.ALMACEN_ID=:almacen");
    sql += QStringLiteral(" group BY p.CLIENTE_ID,DOCTO_ID,p.FOLIO,d.ALMACEN_ID,L.NOMBRE,C.NOMBRE,"
                          "p.fecha,p.naturaleza,p.tipo_docto");
    return sql;
}

// ---------------------------------------------------------------------------------

TfVentasPuntosLista::TfVentasPuntosLista(Sesion &sesion, QWidget *parent)
    : TMForm(parent)
    , m_s(sesion)
{
    setObjectName(QStringLiteral("TfVentasPuntosLista"));
    setWindowTitle(QStringLiteral("Canje de puntos"));

    mVPuntos = new MemTable(this);
    mVPuntos->setObjectName(QStringLiteral("mVPuntos"));
    const QList<QPair<QString, FieldType>> campos{{QStringLiteral("ClienteID"), FieldType::Integer},
                                                  {QStringLiteral("DoctoID"), FieldType::Integer},
                                                  {QStringLiteral("Folio"), FieldType::String},
                                                  {QStringLiteral("AlmacenID"), FieldType::Integer},
                                                  {QStringLiteral("Almacen"), FieldType::String},
                                                  {QStringLiteral("Cliente"), FieldType::String},
                                                  {QStringLiteral("Puntos"), FieldType::Integer},
                                                  {QStringLiteral("Fecha"), FieldType::DateTime},
                                                  {QStringLiteral("Naturaleza"), FieldType::String},
                                                  {QStringLiteral("Cancelado"), FieldType::String}};
    for (const auto &[nombre, tipo] : campos) {
        FieldDef d;
        d.name = nombre;
        d.type = tipo;
        if (tipo == FieldType::Integer)
            d.displayFormat = QStringLiteral(",0;-,0");
        d.wallTime = tipo == FieldType::DateTime; // only shown and sorted
        mVPuntos->addField(d);
    }
    mVPuntos->addIndex(QStringLiteral("iFecha"), QStringLiteral("Fecha"));
    mVPuntos->open();
    m_colNaturaleza = mVPuntos->fieldIndex(QStringLiteral("Naturaleza"));
    m_colFolio = mVPuntos->fieldIndex(QStringLiteral("Folio"));
    m_colCliente = mVPuntos->fieldIndex(QStringLiteral("Cliente"));
    m_colCancelado = mVPuntos->fieldIndex(QStringLiteral("Cancelado"));
    mVPuntos->setOnFilterRecord([this](MemTable &t) {
        // 0 keeps the returns, 1 the redemptions, 2 all.
        if (FiltroTipo != 2 && t.upperUtf8(m_colNaturaleza) != (FiltroTipo == 0 ? "E" : "S"))
            return false;
        return m_buscador.isEmpty() || m_buscador.matches(t.upperUtf8(campoBusca()));
    });
    mVPuntos->setFiltered(true);

    bNew = Boton(QStringLiteral("bNew"), QStringLiteral("Nuevo"));
    bOpen = Boton(QStringLiteral("bOpen"), QStringLiteral("Abrir"));
    bPeriodo = Boton(QStringLiteral("bPeriodo"), QStringLiteral("Período"));
    bUpdate = Boton(QStringLiteral("bUpdate"), QStringLiteral("Actualizar"));
    vPeriodo = new QLineEdit(this);
    vPeriodo->setObjectName(QStringLiteral("vPeriodo"));
    vPeriodo->setReadOnly(true);
    vPeriodo->setAccessibleName(QStringLiteral("Período"));

    bEstatus = new QToolButton(this);
    bEstatus->setObjectName(QStringLiteral("bEstatus"));
    bEstatus->setText(QStringLiteral("Estatus"));
    bEstatus->setPopupMode(QToolButton::InstantPopup);
    auto *menuEstatus = new QMenu(bEstatus);
    mNormales = menuEstatus->addAction(QStringLiteral("Normales"));
    mCancelados = menuEstatus->addAction(QStringLiteral("Cancelados"));
    mTodosEstatus = menuEstatus->addAction(QStringLiteral("Todos"));
    mNormales->setObjectName(QStringLiteral("mNormales"));
    mCancelados->setObjectName(QStringLiteral("mCancelados"));
    mTodosEstatus->setObjectName(QStringLiteral("mTodosEstatus"));
    for (QAction *a : {mNormales, mCancelados, mTodosEstatus})
        a->setCheckable(true);
    mTodosEstatus->setChecked(true);
    bEstatus->setMenu(menuEstatus);
    connect(mNormales, &QAction::triggered, this, [this] { setEstatus(u'C'); });
    connect(mCancelados, &QAction::triggered, this, [this] { setEstatus(u'X'); });
    connect(mTodosEstatus, &QAction::triggered, this, [this] { setEstatus(QChar()); });

    bTipo = new QToolButton(this);
    bTipo->setObjectName(QStringLiteral("bTipo"));
    bTipo->setText(QStringLiteral("Tipo"));
    bTipo->setPopupMode(QToolButton::InstantPopup);
    auto *menuTipo = new QMenu(bTipo);
    bSoloSalidas = menuTipo->addAction(QStringLiteral("Ventas"));
    bSoloEntradas = menuTipo->addAction(QStringLiteral("Devoluciones"));
    bTodos = menuTipo->addAction(QStringLiteral("Todos"));
    bSoloSalidas->setObjectName(QStringLiteral("bSoloSalidas"));
    bSoloEntradas->setObjectName(QStringLiteral("bSoloEntradas"));
    bTodos->setObjectName(QStringLiteral("bTodos"));
    bTipo->setMenu(menuTipo);
    connect(bSoloSalidas, &QAction::triggered, this, [this] { setTipo(1); });
    connect(bSoloEntradas, &QAction::triggered, this, [this] { setTipo(0); });
    connect(bTodos, &QAction::triggered, this, [this] { setTipo(2); });

    vAlmacen = new QComboBox(this);
    vAlmacen->setObjectName(QStringLiteral("vAlmacen"));
    vAlmacen->setAccessibleName(QStringLiteral("Almacén"));
    rDestino = new QRadioButton(QStringLiteral("&Cliente"), this);
    rDestino->setObjectName(QStringLiteral("rDestino"));
    rDestino->setChecked(true);
    rFolio = new QRadioButton(QStringLiteral("&Folio"), this);
    rFolio->setObjectName(QStringLiteral("rFolio"));
    vBusca = new QLineEdit(this);
    vBusca->setObjectName(QStringLiteral("vBusca"));
    vBusca->setAccessibleName(QStringLiteral("Buscar"));

    cxGrid = new MemGrid(this);
    cxGrid->setObjectName(QStringLiteral("cxGrid"));
    cxGrid->setAccessibleName(QStringLiteral("Canjes de puntos"));
    MemTableModel *m = cxGrid->memModel();
    m->addColumn(QStringLiteral("Folio"), QStringLiteral("Folio"), 100);
    m->addColumn(QStringLiteral("Cliente"), QStringLiteral("Cliente"), 360);
    m->addColumn(QStringLiteral("Puntos"), QStringLiteral("Puntos"), 90);
    m->addColumn(QStringLiteral("Almacen"), QStringLiteral("Almacén"), 200);
    m->addColumn(QStringLiteral("Fecha"), QStringLiteral("Fecha"), 140);
    cxGrid->setTable(mVPuntos);
    cxGrid->applyColumns();
    cxGrid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    cxGrid->installEventFilter(this);
    m_pintor = new HighlightDelegate(this);
    m_pintor->setField(m_colCliente);
    cxGrid->setItemDelegate(m_pintor);

    pAviso = new QFrame(this);
    pAviso->setObjectName(QStringLiteral("pAviso"));
    auto *aviso = new QVBoxLayout(pAviso);
    aviso->addWidget(new QLabel(QStringLiteral("Cargando el listado"), pAviso));
    aviso->addWidget(new QLabel(QStringLiteral("por favor espere"), pAviso));
    pAviso->setVisible(false);

    auto *raiz = new QVBoxLayout(this);
    auto *barra = new QHBoxLayout;
    barra->addWidget(bNew);
    barra->addWidget(bOpen);
    barra->addWidget(bPeriodo);
    barra->addWidget(vPeriodo, 1);
    barra->addWidget(bEstatus);
    barra->addWidget(bTipo);
    barra->addWidget(vAlmacen, 1);
    barra->addWidget(bUpdate);
    raiz->addLayout(barra);
    auto *busca = new QHBoxLayout;
    busca->addWidget(rDestino);
    busca->addWidget(rFolio);
    busca->addWidget(vBusca, 1);
    raiz->addLayout(busca);
    raiz->addWidget(pAviso);
    raiz->addWidget(cxGrid, 1);

    connect(bNew, &QPushButton::clicked, this, &TfVentasPuntosLista::bNewClick);
    connect(bOpen, &QPushButton::clicked, this, &TfVentasPuntosLista::bOpenClick);
    connect(bPeriodo, &QPushButton::clicked, this, &TfVentasPuntosLista::bPeriodoClick);
    connect(bUpdate, &QPushButton::clicked, this, &TfVentasPuntosLista::SetDate);
    connect(vBusca, &QLineEdit::textChanged, this, &TfVentasPuntosLista::aplicaFiltro);
    connect(rDestino, &QRadioButton::toggled, this, &TfVentasPuntosLista::aplicaFiltro);
    connect(cxGrid, &QAbstractItemView::doubleClicked, this, &TfVentasPuntosLista::bOpenClick);
    connect(vAlmacen, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_iniciando)
            SetDate();
    });
    terminaDiseno();
}

TfVentasPuntosLista::~TfVentasPuntosLista() = default;

void TfVentasPuntosLista::showEvent(QShowEvent *ev)
{
    TMForm::showEvent(ev);
    if (m_iniciando) {
        FormShow();
        m_iniciando = false;
        SetDate();
    }
}

void TfVentasPuntosLista::FormShow()
{
    vAlmacen->clear();
    vAlmacen->addItem(QStringLiteral("Todos"), 0);
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral("select almacen_id, nombre from almacenes order by nombre"));
    for (q.open(); !q.eof(); q.next())
        vAlmacen->addItem(q.field(1).toString(), q.field(0).toInt());
    q.close();
    vAlmacen->setCurrentIndex(0);
    Periodo = LeePeriodo(m_s);
    vPeriodo->setText(Periodo.texto());
}

void TfVentasPuntosLista::SetDate()
{
    pAviso->setVisible(true);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int fila = mVPuntos->recNo();
    const bool conFechas = Periodo.tipo != 0;
    const bool conAlmacen = vAlmacen->currentIndex() > 0;
    const QString estatus = mTodosEstatus->isChecked() ? QString() : QString(FiltroEstatus);
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(SqlListaCanjes(conFechas, estatus, conAlmacen));
    if (conFechas) {
        q.bind(QStringLiteral("fecha1"), Periodo.fecha1());
        q.bind(QStringLiteral("fecha2"), Periodo.fecha2());
    }
    if (conAlmacen)
        q.bind(QStringLiteral("almacen"), vAlmacen->currentData().toInt());
    mVPuntos->disableControls();
    mVPuntos->emptyTable();
    q.open();
    // The statement's columns are the table's fields, in order: only the folio (to
    // its short form) and the status (from TIPO_DOCTO) change on the way in.
    mVPuntos->loadFromQuery(q, [this](std::span<QVariant> v) {
        QVariant &folio = v[size_t(m_colFolio)];
        folio = FolioNormaliza(folio.toString());
        QVariant &cancelado = v[size_t(m_colCancelado)];
        cancelado = cancelado.toString() == u"X" ? QStringLiteral("C") : QStringLiteral("N");
    });
    q.close();
    mVPuntos->setIndexName(QStringLiteral("iFecha"));
    mVPuntos->enableControls();
    mVPuntos->refresh();
    pAviso->setVisible(false);
    QApplication::restoreOverrideCursor();
    if (fila >= 0 && mVPuntos->recordCount() > 0)
        mVPuntos->setRecNo(qMin(fila, mVPuntos->recordCount() - 1));
}

int TfVentasPuntosLista::campoBusca() const
{
    return rFolio->isChecked() ? m_colFolio : m_colCliente;
}

void TfVentasPuntosLista::aplicaFiltro()
{
    const QStringList palabras = splitWords(vBusca->text());
    m_buscador = WordMatcher(palabras);
    m_pintor->setWords(palabras);
    m_pintor->setField(campoBusca());
    mVPuntos->refresh();
    cxGrid->viewport()->update();
}

void TfVentasPuntosLista::setEstatus(QChar estatus)
{
    FiltroEstatus = estatus;
    mNormales->setChecked(estatus == u'C');
    mCancelados->setChecked(estatus == u'X');
    mTodosEstatus->setChecked(estatus != u'C' && estatus != u'X');
    SetDate();
}

void TfVentasPuntosLista::setTipo(int tipo)
{
    FiltroTipo = tipo;
    aplicaFiltro();
}

void TfVentasPuntosLista::bPeriodoClick()
{
    TfPeriodo d(this);
    d.vMeses->setValue(Periodo.meses);
    d.vDias->setValue(Periodo.dias);
    if (Periodo.ini.isValid() && SerialFecha(Periodo.ini) > 0) {
        d.vInicial->setDate(Periodo.ini);
        d.vFinal->setDate(Periodo.fin);
    }
    d.setTipoPeriodo(Periodo.tipo);
    if (d.exec() != QDialog::Accepted)
        return;
    Periodo.tipo = d.tipoPeriodo();
    if (Periodo.tipo == 2) {
        Periodo.ini = d.vInicial->date();
        Periodo.fin = d.vFinal->date();
    } else {
        Periodo.ini = Periodo.fin = QDate();
    }
    Periodo.meses = d.vMeses->value();
    Periodo.dias = d.vDias->value();
    vPeriodo->setText(Periodo.texto());
    const QString error = GuardaPeriodo(m_s, Periodo);
    if (!error.isEmpty()) {
        MensajeSistema(error, kAviso, mb::IconWarning);
        return;
    }
    SetDate();
}

void TfVentasPuntosLista::abre(bool nueva)
{
    QChar metodo;
    const QString aviso = ValidaPreferencias(m_s, metodo);
    if (!aviso.isEmpty()) {
        MensajeSistema(aviso, kAviso, mb::IconWarning);
        return;
    }
    if (m_venta) {
        m_venta->raise();
        return;
    }
    TfVentasPuntos f(m_s, this);
    m_venta = &f;
    f.EsNueva = nueva;
    f.MetodoCosteo = metodo;
    if (nueva) {
        for (QPushButton *b : {f.bSave, f.bSaveClose, f.bSaveNew})
            b->setEnabled(true);
    } else {
        f.DoctoID = mVPuntos->fieldByName(QStringLiteral("DoctoID")).asInteger();
    }
    f.MueveLista = [this](int distancia) {
        return mueve(distancia);
    };
    f.exec();
    m_venta = nullptr;
    SetDate();
}

void TfVentasPuntosLista::bNewClick()
{
    if (!TienePermiso(m_s, 73, 2, QStringLiteral("hacer un nuevo canje de puntos.")))
        return;
    abre(true);
}

void TfVentasPuntosLista::bOpenClick()
{
    if (mVPuntos->isEmpty())
        return;
    abre(false);
}

int TfVentasPuntosLista::mueve(int distancia)
{
    if (mVPuntos->isEmpty() || mVPuntos->moveBy(distancia) == 0)
        return 0;
    return mVPuntos->fieldByName(QStringLiteral("DoctoID")).asInteger();
}

bool TfVentasPuntosLista::eventFilter(QObject *obj, QEvent *ev)
{
    if (obj == cxGrid && ev->type() == QEvent::KeyPress) {
        auto *k = static_cast<QKeyEvent *>(ev);
        if (k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter) {
            bOpen->click();
            return true;
        }
        if (k->key() == Qt::Key_Escape) {
            vBusca->clear();
            vBusca->setFocus();
            return true;
        }
        const QString t = k->text();
        if (!t.isEmpty() && t.at(0).isPrint()) {
            vBusca->setFocus();
            vBusca->setText(vBusca->text() + t);
            return true;
        }
    }
    return TMForm::eventFilter(obj, ev);
}

void RegistraCanjePuntos()
{
    FilaModulo m;
    m.tag = 73;
    m.clase = QStringLiteral("TfVentasPuntosLista");
    m.modal = false;
    m.creaForma = [](TfMain &principal) -> TMForm * {
        const QString aviso = PuedeAbrirCanjes(principal.sesion());
        if (!aviso.isEmpty()) {
            MensajeSistema(aviso, kAviso, mb::IconWarning);
            return nullptr;
        }
        return new TfVentasPuntosLista(principal.sesion());
    };
    RegistraModulo(m);
}

} // namespace lar
