#include "fconfig.h"

#include "core/acceso.h"
#include "core/fmain.h"
#include "core/navegacion.h"
#include "core/sesion.h"
#include "points/reinicio.h"
#include "shared/listas.h"
#include "toolkit/accesible.h"
#include "toolkit/iconos.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/teclado.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QScrollArea>
#include <QSpinBox>
#include <QStyledItemDelegate>
#include <QTabWidget>
#include <QVBoxLayout>

namespace lar {

namespace {

const QString AvisoSistema = QStringLiteral("Aviso del sistema");
// Design data: the module and its right "Modificar".
constexpr int Modulo = 10;
constexpr quint32 BitModificar = 2;

// Runs a step of a handler; an engine error is shown and the step given up.
template<class F>
bool protegido(F &&paso)
{
    try {
        paso();
        return true;
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
        return false;
    }
}

// Folio boxes: Backspace, digits and the letters A to Z (no 'Ñ'), upper-cased as typed.
class ValidadorFolio : public QValidator
{
public:
    using QValidator::QValidator;
    State validate(QString &texto, int &) const override
    {
        for (QChar &c : texto) {
            const char16_t u = c.unicode();
            const bool letra = (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z');
            if (!letra && !(u >= u'0' && u <= u'9'))
                return Invalid;
            c = c.toUpper();
        }
        return Acceptable;
    }
};

// The sender's address: the mask starts with a blank, which is put in for the user.
class ValidadorCorreo : public QRegularExpressionValidator
{
public:
    explicit ValidadorCorreo(QObject *parent)
        : QRegularExpressionValidator(
            QRegularExpression(QStringLiteral(" [\\w\\-.]+@[\\w\\-]+(\\.[\\w\\-]+)+")), parent)
    {}
    State validate(QString &texto, int &pos) const override
    {
        if (!texto.isEmpty() && !texto.startsWith(u' ')) {
            texto.prepend(u' ');
            ++pos;
        }
        if (texto == u" ")
            return Intermediate;
        return QRegularExpressionValidator::validate(texto, pos);
    }
};

QValidator *soloDigitos(QObject *parent, const QString &patron = QStringLiteral("[0-9]*"))
{
    return new QRegularExpressionValidator(QRegularExpression(patron), parent);
}

// Check boxes and radio buttons have no read-only state of their own: while
// marked, they show their state and take no click or key.
class SoloLectura : public QObject
{
public:
    using QObject::QObject;
    bool eventFilter(QObject *o, QEvent *ev) override
    {
        switch (ev->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            return o->property("soloLectura").toBool();
        default:
            return false;
        }
    }
};

void fijaBoton(QAbstractButton *b, bool soloLectura)
{
    static SoloLectura *filtro = new SoloLectura(qApp);
    b->removeEventFilter(filtro);
    b->installEventFilter(filtro);
    b->setFocusPolicy(soloLectura ? Qt::NoFocus : Qt::StrongFocus);
    b->setProperty("soloLectura", soloLectura);
}

template<class T>
T *nombra(T *w, const QString &nombre)
{
    w->setObjectName(nombre);
    return w;
}

QGroupBox *grupo(const QString &titulo, const QString &nombre)
{
    auto *g = new QGroupBox(titulo);
    g->setObjectName(nombre);
    return g;
}

// The lines grid: the line chosen by name from a list, points and pesos typed.
class DelegadoLineas : public QStyledItemDelegate
{
public:
    DelegadoLineas(TfConfig *forma, QObject *parent)
        : QStyledItemDelegate(parent)
        , m_forma(forma)
    {}

    QString nombreLinea(const QVariant &id) const
    {
        MemTable *t = m_forma->mLineas;
        for (int r = 0; r < t->recordCount(); ++r) {
            if (t->valueAt(r, 0) == id)
                return t->valueAt(r, 1).toString();
        }
        return {};
    }

    void initStyleOption(QStyleOptionViewItem *op, const QModelIndex &i) const override
    {
        QStyledItemDelegate::initStyleOption(op, i);
        if (i.column() == 0)
            op->text = nombreLinea(i.data(Qt::EditRole));
    }

    QWidget *
    createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &i) const override
    {
        if (i.column() == 0) {
            auto *c = new QComboBox(parent);
            c->setObjectName(QStringLiteral("edLinea"));
            MemTable *t = m_forma->mLineas;
            for (int r = 0; r < t->recordCount(); ++r)
                c->addItem(t->valueAt(r, 1).toString());
            return c;
        }
        if (i.column() == 1) {
            auto *s = new QSpinBox(parent);
            s->setObjectName(QStringLiteral("edPuntos"));
            s->setRange(0, 999999);
            return s;
        }
        auto *e = new QLineEdit(parent);
        e->setObjectName(QStringLiteral("edImporte"));
        e->setValidator(soloDigitos(e, QStringLiteral("[0-9]{0,9}(\\.[0-9]{0,2})?")));
        return e;
    }

    void setEditorData(QWidget *editor, const QModelIndex &i) const override
    {
        const QVariant v = i.data(Qt::EditRole);
        if (auto *c = qobject_cast<QComboBox *>(editor))
            c->setCurrentIndex(c->findText(nombreLinea(v)));
        else if (auto *s = qobject_cast<QSpinBox *>(editor))
            s->setValue(v.toInt());
        else if (auto *e = qobject_cast<QLineEdit *>(editor))
            e->setText(v.isNull() ? QString() : v.value<fb::Decimal>().toString());
    }

    void
    setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &i) const override
    {
        if (auto *c = qobject_cast<QComboBox *>(editor)) {
            // The check for a repeated line may ask and delete the row: not
            // while the editor is still closing.
            const QString nombre = c->currentText();
            QPointer<TfConfig> forma(m_forma);
            QMetaObject::invokeMethod(
                m_forma,
                [forma, nombre] {
                    if (forma)
                        forma->lineaElegida(nombre);
                },
                Qt::QueuedConnection);
        } else if (auto *s = qobject_cast<QSpinBox *>(editor)) {
            model->setData(i, s->value());
        } else if (auto *e = qobject_cast<QLineEdit *>(editor)) {
            const std::optional<fb::Decimal> d = fb::Decimal::fromString(e->text());
            model->setData(i, d ? QVariant::fromValue(*d) : QVariant());
        }
    }

private:
    TfConfig *m_forma;
};

// Arrow and Enter navigation of the lines grid.
class RejillaLineas : public MemGrid
{
public:
    RejillaLineas(TfConfig *forma, QWidget *parent = nullptr)
        : MemGrid(parent)
        , m_forma(forma)
    {}

protected:
    void keyPressEvent(QKeyEvent *ev) override
    {
        const bool enter = ev->key() == Qt::Key_Return || ev->key() == Qt::Key_Enter;
        if (m_forma->editando() && state() != EditingState) {
            if (enter && currentIndex().column() == 2) {
                m_forma->agregaLinea();
                return;
            }
            // The grid's own keys for rows: Insert adds one, Ctrl+Delete removes one.
            if (ev->key() == Qt::Key_Insert) {
                m_forma->agregaLinea();
                return;
            }
            if (ev->key() == Qt::Key_Delete && (ev->modifiers() & Qt::ControlModifier)) {
                if (table() && !table()->isEmpty())
                    table()->deleteRecord();
                return;
            }
        }
        MemGrid::keyPressEvent(ev);
    }

    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint) override
    {
        const bool enImporte = currentIndex().column() == 2;
        MemGrid::closeEditor(editor, hint);
        if (enImporte && hint == QAbstractItemDelegate::SubmitModelCache)
            m_forma->agregaLinea();
    }

    void focusInEvent(QFocusEvent *ev) override
    {
        MemGrid::focusInEvent(ev);
        if (m_forma->editando() && table() && table()->isEmpty())
            m_forma->agregaLinea();
    }

private:
    TfConfig *m_forma;
};

} // namespace

void RegistraConfiguracion()
{
    FilaModulo m;
    m.tag = Modulo;
    m.clase = QStringLiteral("TfConfig");
    m.creaForma = [](TfMain &principal) -> TMForm * {
        return new TfConfig(principal.sesion());
    };
    RegistraModulo(m);
}

TfConfig::TfConfig(Sesion &sesion, QWidget *parent)
    : TMForm(parent)
    , m_sesion(sesion)
    , m_config(std::make_unique<ConfigPuntos>(sesion))
{
    setObjectName(QStringLiteral("TfConfig"));
    setWindowTitle(QStringLiteral("Configuración"));
    // Embedded, it covers the main window's picture.
    setAutoFillBackground(true);
    mDetalle = new MemTable(this);
    mClientes = new MemTable(this);
    mlineaspuntos = new MemTable(this);
    mLineas = new MemTable(this);
    mConInvSal = new MemTable(this);
    mAlmacenes = new MemTable(this);
    mArticulos = new MemTable(this);
    creaControles();
    terminaDiseno();
    ponSoloLectura(true);
    // Errors here reach the dispatch, which reports them and opens nothing.
    cargaCatalogos();
    leeConfiguracion();
}

TfConfig::~TfConfig() = default;

bool TfConfig::editando() const
{
    return bEdit->isChecked();
}

void TfConfig::creaControles()
{
    auto *raiz = new QVBoxLayout(this);
    auto *barra = new QHBoxLayout;
    bSave = nombra(new QPushButton(QStringLiteral("Guardar y cerrar")), QStringLiteral("bSave"));
    bEdit = nombra(new QPushButton(QStringLiteral("Modificar")), QStringLiteral("bEdit"));
    bSave->setIcon(Icono(QStringLiteral("document-save")));
    bEdit->setIcon(Icono(QStringLiteral("document-properties")));
    bEdit->setCheckable(true);
    bEdit->setEnabled(false);
    barra->addWidget(bSave);
    barra->addWidget(bEdit);
    barra->addStretch();
    raiz->addLayout(barra);

    pcConfig = nombra(new QTabWidget, QStringLiteral("pcConfig"));
    TabPuntos = creaPaginaPuntos();
    TabOtros = creaPaginaOtros();
    pcConfig->addTab(TabPuntos, QStringLiteral("Puntos"));
    pcConfig->addTab(TabOtros, QStringLiteral("Otros"));
    raiz->addWidget(pcConfig);

    connect(bSave, &QPushButton::clicked, this, &TfConfig::bSaveClick);
    connect(bEdit, &QPushButton::clicked, this, &TfConfig::bEditClick);
    connect(vPuntosImpActivo, &QCheckBox::toggled, this, &TfConfig::vPuntosImpActivoClick);
    connect(rbPtolinea, &QCheckBox::toggled, this, &TfConfig::rbPtolineaClick);
    connect(RBListaEmpleados, &QRadioButton::toggled, this, &TfConfig::RBListaEmpleadosClick);
    connect(chkReinicio, &QCheckBox::toggled, this, &TfConfig::chkReinicioClick);
    connect(ckReinicia, &QCheckBox::toggled, this, [this](bool marcado) {
        btnReiniciar->setEnabled(marcado && editando());
    });
    connect(btnReiniciar, &QPushButton::clicked, this, &TfConfig::btnReiniciarClick);
    connect(bAddArt, &QPushButton::clicked, this, &TfConfig::bAddArtClick);
    connect(bDelArt, &QPushButton::clicked, this, &TfConfig::bDelArtClick);
    connect(bArticulo, &QPushButton::clicked, this, &TfConfig::vArticuloClick);
}

QWidget *TfConfig::creaPaginaPuntos()
{
    auto *contenido = new QWidget;
    auto *columnas = new QHBoxLayout(contenido);
    auto *izquierda = new QVBoxLayout;
    auto *derecha = new QVBoxLayout;
    columnas->addLayout(izquierda, 1);
    columnas->addLayout(derecha, 1);

    // General.
    QGroupBox *general = grupo(QStringLiteral("General"), QStringLiteral("gbGeneral"));
    auto *fg = new QFormLayout(general);
    vPuntosActivo = nombra(new QCheckBox(QStringLiteral("Activar puntos para Punto de venta")),
                           QStringLiteral("vPuntosActivo"));
    ckPuntosVentas = nombra(new QCheckBox(QStringLiteral("Activar puntos para Ventas")),
                            QStringLiteral("ckPuntosVentas"));
    vPuntosArtActivo = nombra(new QCheckBox(QStringLiteral("Puntos extra por artículo")),
                              QStringLiteral("vPuntosArtActivo"));
    ckTarjeta = nombra(new QCheckBox(QStringLiteral("Usar tarjeta de puntos")),
                       QStringLiteral("ckTarjeta"));
    auto *marcas = new QGridLayout;
    marcas->addWidget(vPuntosActivo, 0, 0);
    marcas->addWidget(ckPuntosVentas, 0, 1);
    marcas->addWidget(vPuntosArtActivo, 1, 0);
    marcas->addWidget(ckTarjeta, 1, 1);
    fg->addRow(marcas);
    vFolioPuntos = nombra(new QLineEdit, QStringLiteral("vFolioPuntos"));
    vFolioPuntos->setValidator(new ValidadorFolio(vFolioPuntos));
    vFolioPuntos->setMaxLength(9);
    tefolioPE = nombra(new QLineEdit, QStringLiteral("tefolioPE"));
    tefolioPE->setValidator(new ValidadorFolio(tefolioPE));
    auto *folios = new QHBoxLayout;
    folios->addWidget(vFolioPuntos);
    folios->addWidget(new QLabel(QStringLiteral("Folio para puntos por actividad")));
    folios->addWidget(tefolioPE);
    fg->addRow(QStringLiteral("Siguiente folio:"), folios);
    vTraspConSal = nombra(new LookupCombo, QStringLiteral("vTraspConSal"));
    vTraspConSal->setPlaceholderText(QStringLiteral("  < Seleccione un concepto de inventarios >"));
    fg->addRow(QStringLiteral("Concepto de Salida:"), vTraspConSal);
    cmbAlmacen = nombra(new LookupCombo, QStringLiteral("cmbAlmacen"));
    cmbAlmacen->setPlaceholderText(QStringLiteral("  < Seleccione un almacén >"));
    fg->addRow(QStringLiteral("Almacén:"), cmbAlmacen);
    izquierda->addWidget(general);

    // Puntos por importe, and its alternative by line.
    QGroupBox *importe = grupo(QStringLiteral("Puntos por importe"), QStringLiteral("gbImporte"));
    auto *gi = new QGridLayout(importe);
    vPuntosImpActivo = nombra(new QCheckBox(QStringLiteral("Puntos por importe de venta ")),
                              QStringLiteral("vPuntosImpActivo"));
    lbPuntos = nombra(new QLabel(QStringLiteral("Puntos:")), QStringLiteral("lbPuntos"));
    vPuntos = nombra(new QLineEdit, QStringLiteral("vPuntos"));
    vPuntos->setValidator(soloDigitos(vPuntos, QStringLiteral("[0-9]{0,9}")));
    vPuntos->setAlignment(Qt::AlignRight);
    lbPesos = nombra(new QLabel(QStringLiteral("por cada: $")), QStringLiteral("lbPesos"));
    vPesos = nombra(new QLineEdit, QStringLiteral("vPesos"));
    vPesos->setValidator(soloDigitos(vPesos, QStringLiteral("[0-9]{0,12}(\\.[0-9]{0,5})?")));
    vPesos->setAlignment(Qt::AlignRight);
    lbPuntos->setBuddy(vPuntos);
    lbPesos->setBuddy(vPesos);
    gi->addWidget(vPuntosImpActivo, 0, 0, 1, 4);
    gi->addWidget(lbPuntos, 1, 0);
    gi->addWidget(vPuntos, 1, 1);
    gi->addWidget(lbPesos, 1, 2);
    gi->addWidget(vPesos, 1, 3);
    rbPtolinea
        = nombra(new QCheckBox(QStringLiteral("Puntos por línea")), QStringLiteral("rbPtolinea"));
    gi->addWidget(rbPtolinea, 2, 0, 1, 4);
    gridLineas = nombra<MemGrid>(new RejillaLineas(this), QStringLiteral("gridLineas"));
    gridLineas->setAccessibleName(QStringLiteral("Líneas con puntos"));
    gridLineas->setItemDelegate(new DelegadoLineas(this, gridLineas));
    gridLineas->setMinimumHeight(90);
    gi->addWidget(gridLineas, 3, 0, 1, 4);
    izquierda->addWidget(importe, 1);

    // Ventas al día por cliente.
    QGroupBox *ventas
        = grupo(QStringLiteral("Ventas al día por cliente"), QStringLiteral("gbVentas"));
    auto *hv = new QHBoxLayout(ventas);
    vNoVentas = nombra(new QLineEdit, QStringLiteral("vNoVentas"));
    vNoVentas->setValidator(soloDigitos(vNoVentas));
    vNoVentas->setMaxLength(9);
    vNoVentas->setMaximumWidth(80);
    vNoVentas->setAlignment(Qt::AlignRight);
    const QString pista
        = QStringLiteral("No de ventas al día en donde el cliente tiene derecho a recibir puntos.");
    vNoVentas->setToolTip(pista);
    hv->addWidget(new QLabel(QStringLiteral("Ventas máximas:")));
    hv->addWidget(vNoVentas);
    hv->addWidget(new QLabel(QStringLiteral("para acumular puntos.")));
    hv->addStretch();
    izquierda->addWidget(ventas);

    // Listado a mostrar en asignar puntos por actividad.
    QGroupBox *listado = grupo(QStringLiteral("Listado a mostrar en asignar puntos por actividad:"),
                               QStringLiteral("gbListado"));
    auto *hl = new QHBoxLayout(listado);
    RBListaClientes
        = nombra(new QRadioButton(QStringLiteral("Clientes")), QStringLiteral("RBListaClientes"));
    RBListaEmpleados
        = nombra(new QRadioButton(QStringLiteral("Empleados")), QStringLiteral("RBListaEmpleados"));
    hl->addWidget(RBListaClientes);
    hl->addWidget(RBListaEmpleados);
    hl->addStretch();
    derecha->addWidget(listado);

    // Reinicio de puntos programado, and the manual reset beside it.
    QGroupBox *reinicio
        = grupo(QStringLiteral("Reinicio de puntos programado:"), QStringLiteral("gbReinicio"));
    auto *fr = new QFormLayout(reinicio);
    chkReinicio = nombra(new QCheckBox(QStringLiteral("Reiniciar puntos en la fecha establecida:")),
                         QStringLiteral("chkReinicio"));
    dtpReinicio = nombra(new QDateEdit, QStringLiteral("dtpReinicio"));
    dtpReinicio->setCalendarPopup(true);
    dtpReinicio->setDisplayFormat(QStringLiteral("dd/MM/yyyy"));
    fr->addRow(chkReinicio, dtpReinicio);
    seDias = nombra(new QSpinBox, QStringLiteral("seDias"));
    seDias->setRange(0, 3650);
    fr->addRow(QStringLiteral("Días para enviar aviso antes del reinicio"), seDias);
    vCorreoRem = nombra(new QLineEdit, QStringLiteral("vCorreoRem"));
    vCorreoRem->setValidator(new ValidadorCorreo(vCorreoRem));
    fr->addRow(QStringLiteral(" E-Mail del remitente:"), vCorreoRem);
    edPass = nombra(new QLineEdit, QStringLiteral("edPass"));
    CampoContrasena(edPass);
    fr->addRow(QStringLiteral("Pass:"), edPass);
    vHost = nombra(new QLineEdit, QStringLiteral("vHost"));
    fr->addRow(QStringLiteral("Host:"), vHost);
    vPuerto = nombra(new QLineEdit, QStringLiteral("vPuerto"));
    vPuerto->setValidator(soloDigitos(vPuerto, QStringLiteral("[0-9]{0,5}")));
    vPuerto->setMaximumWidth(80);
    fr->addRow(QStringLiteral("Puerto:"), vPuerto);
    ckReinicia = nombra(new QCheckBox(QStringLiteral("Reiniciar puntos ahora")),
                        QStringLiteral("ckReinicia"));
    btnReiniciar
        = nombra(new QPushButton(QStringLiteral("Reiniciar")), QStringLiteral("btnReiniciar"));
    btnReiniciar->setEnabled(false);
    auto *manual = new QHBoxLayout;
    manual->addWidget(ckReinicia);
    manual->addWidget(btnReiniciar);
    manual->addStretch();
    fr->addRow(manual);
    derecha->addWidget(reinicio);

    // Lista negra.
    QGroupBox *negra = grupo(QStringLiteral("Lista negra"), QStringLiteral("gbListaNegra"));
    auto *gn = new QGridLayout(negra);
    gridListaNegra = nombra(new MemGrid, QStringLiteral("gridListaNegra"));
    gridListaNegra->setAccessibleName(QStringLiteral("Lista negra"));
    gridListaNegra->setMinimumHeight(90);
    bAddArt = nombra(new QPushButton(Icono(QStringLiteral("list-add")), QString()),
                     QStringLiteral("bAddArt"));
    bAddArt->setToolTip(QStringLiteral("Agregar una línea"));
    bAddArt->setAccessibleName(QStringLiteral("Agregar una línea"));
    bDelArt = nombra(new QPushButton(Icono(QStringLiteral("list-remove")), QString()),
                     QStringLiteral("bDelArt"));
    bDelArt->setToolTip(QStringLiteral("Borrar una línea"));
    bDelArt->setAccessibleName(QStringLiteral("Borrar una línea"));
    gn->addWidget(gridListaNegra, 0, 0, 3, 1);
    gn->addWidget(bAddArt, 0, 1);
    gn->addWidget(bDelArt, 1, 1);
    derecha->addWidget(negra, 1);

    auto *desliza = new QScrollArea;
    desliza->setObjectName(QStringLiteral("TabPuntos"));
    desliza->setWidgetResizable(true);
    desliza->setFrameShape(QFrame::NoFrame);
    // Only a frame for the page: Tab goes straight to its controls.
    desliza->setFocusPolicy(Qt::NoFocus);
    desliza->setAccessibleName(QStringLiteral("Puntos"));
    desliza->setWidget(contenido);
    return desliza;
}

QWidget *TfConfig::creaPaginaOtros()
{
    auto *pagina = new QWidget;
    pagina->setObjectName(QStringLiteral("TabOtros"));
    auto *v = new QVBoxLayout(pagina);
    QGroupBox *boleto = grupo(QStringLiteral("Boletos"), QStringLiteral("gbBoleto"));
    auto *fb = new QFormLayout(boleto);
    chkBoleto
        = nombra(new QCheckBox(QStringLiteral("Boleto por artículo")), QStringLiteral("chkBoleto"));
    vArticulo = nombra(new QLineEdit, QStringLiteral("vArticulo"));
    vArticulo->setReadOnly(true);
    vArticulo->setAccessibleName(QStringLiteral("Artículo para boleto"));
    bArticulo = nombra(new QPushButton(QStringLiteral("...")), QStringLiteral("bArticulo"));
    bArticulo->setToolTip(QStringLiteral("Listado de artículos"));
    bArticulo->setAccessibleName(QStringLiteral("Listado de artículos"));
    auto *art = new QHBoxLayout;
    art->addWidget(vArticulo);
    art->addWidget(bArticulo);
    fb->addRow(chkBoleto, art);
    rbArtsinExt = nombra(new QCheckBox(QStringLiteral("Artículos sin existencia.")),
                         QStringLiteral("rbArtsinExt"));
    chkArtAlmacenables
        = nombra(new QCheckBox(QStringLiteral("Solo mostrar artículos almacenables en lista.")),
                 QStringLiteral("chkArtAlmacenables"));
    fb->addRow(rbArtsinExt);
    fb->addRow(chkArtAlmacenables);
    auto *formas
        = new QLabel(QStringLiteral("Seleccione la forma en la que desea imprimir los boletos:"));
    vListaFormas = nombra(new QListWidget, QStringLiteral("vListaFormas"));
    EtiquetaDe(formas, vListaFormas);
    fb->addRow(formas);
    fb->addRow(vListaFormas);
    v->addWidget(boleto);
    v->addStretch();
    return pagina;
}

void TfConfig::cargaCatalogos()
{
    m_config->cargaConceptos(*mConInvSal);
    vTraspConSal->setLookup(mConInvSal, QStringLiteral("Id"), QStringLiteral("Nombre"));
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    LlenaCombo(QStringLiteral("almacenes"),
               QStringLiteral("almacen_id"),
               QStringLiteral("nombre"),
               q,
               *mAlmacenes,
               cmbAlmacen);
    m_config->cargaLineas(*mLineas);
    m_config->cargaLineasPuntos(*mlineaspuntos);
    gridLineas->setTable(mlineaspuntos);
    MemTableModel *ml = gridLineas->memModel();
    ml->clearColumns();
    ml->addColumn(QStringLiteral("ID_LINEA"), QStringLiteral("Linea"), 220);
    ml->addColumn(QStringLiteral("PUNTOS"), QStringLiteral("Puntos"), 80);
    ml->addColumn(QStringLiteral("IMPORTE"), QStringLiteral("Importe"), 100);
    for (int c = 0; c < 3; ++c)
        ml->column(c).editable = true;
    ml->reload();
    gridLineas->applyColumns();
    m_config->cargaArticulos(*mArticulos);
}

void TfConfig::showEvent(QShowEvent *ev)
{
    TMForm::showEvent(ev);
    if (m_mostrada)
        return;
    m_mostrada = true;
    bEdit->setEnabled((Acceso & BitModificar) != 0);
    pcConfig->setCurrentWidget(TabPuntos);
}

void TfConfig::leeConfiguracion()
{
    m_cargando = true;
    const ValoresConfig v = m_config->lee();
    vPuntosActivo->setChecked(v.puntosGeneral);
    ckPuntosVentas->setChecked(v.puntosVentas);
    vPuntosArtActivo->setChecked(v.puntosArticulo);
    vPuntosImpActivo->setChecked(v.puntosImporte);
    vPuntos->setText(v.factorPuntos);
    vPesos->setText(v.factorPesos);
    rbPtolinea->setChecked(v.puntosLinea);
    ckTarjeta->setChecked(v.tarjeta);
    vNoVentas->setText(v.noVentas);
    vTraspConSal->setKeyValue(v.concepto > 0 ? QVariant(v.concepto) : QVariant());
    cmbAlmacen->setKeyValue(v.almacen > 0 ? QVariant(v.almacen) : QVariant());
    vFolioPuntos->setText(v.folioPuntos);
    tefolioPE->setText(v.folioEmpleados);
    RBListaClientes->setChecked(v.listaClientes);
    RBListaEmpleados->setChecked(v.listaEmpleados);
    rbArtsinExt->setChecked(v.artSinExistencia);
    chkArtAlmacenables->setChecked(v.artAlmacenables);

    m_config->cargaClientes(*mClientes);
    m_config->cargaListaNegra(*mDetalle);
    gridListaNegra->setTable(mDetalle);
    MemTableModel *mn = gridListaNegra->memModel();
    mn->clearColumns();
    mn->addColumn(QStringLiteral("Clave"), QStringLiteral("Clave"), 110);
    mn->addColumn(QStringLiteral("Nombre"), QStringLiteral("Nombre"), 320);
    mn->reload();
    gridListaNegra->applyColumns();
    gridListaNegra->horizontalHeader()->setStretchLastSection(true);

    chkReinicio->setChecked(v.reinicioProgramado);
    dtpReinicio->setDate(v.fechaReinicio);
    seDias->setValue(v.diasAviso);
    vCorreoRem->setText(v.correoRem);
    edPass->setText(v.password);
    vHost->setText(v.host);
    vPuerto->setText(v.puerto);
    chkBoleto->setChecked(v.boleto);
    m_artBoleto = v.artBoleto;
    vArticulo->setText(v.artBoleto > 0 ? m_config->nombreArticulo(v.artBoleto) : QString());
    vListaFormas->clear();
    vListaFormas->addItems(m_config->formas());
    const QList<QListWidgetItem *> forma = vListaFormas->findItems(v.formaBoleto, Qt::MatchExactly);
    if (!v.formaBoleto.isEmpty() && !forma.isEmpty())
        vListaFormas->setCurrentItem(forma.first());
    actualizaImporte();
    m_cargando = false;
}

void TfConfig::ponSoloLectura(bool soloLectura)
{
    for (QLineEdit *e : {vPuntos, vPesos, vNoVentas, vCorreoRem, edPass, vHost, vPuerto})
        e->setReadOnly(soloLectura);
    seDias->setReadOnly(soloLectura);
    for (QWidget *w : std::initializer_list<QWidget *>{bAddArt,
                                                       bDelArt,
                                                       vFolioPuntos,
                                                       tefolioPE,
                                                       vArticulo,
                                                       bArticulo,
                                                       dtpReinicio,
                                                       vPuntosImpActivo,
                                                       rbPtolinea,
                                                       vListaFormas,
                                                       vTraspConSal,
                                                       cmbAlmacen})
        w->setEnabled(!soloLectura);
    for (QAbstractButton *b : std::initializer_list<QAbstractButton *>{vPuntosActivo,
                                                                       ckPuntosVentas,
                                                                       vPuntosArtActivo,
                                                                       ckTarjeta,
                                                                       RBListaClientes,
                                                                       RBListaEmpleados,
                                                                       chkReinicio,
                                                                       ckReinicia,
                                                                       chkBoleto,
                                                                       rbArtsinExt,
                                                                       chkArtAlmacenables})
        fijaBoton(b, soloLectura);
    gridLineas->setEditTriggers(soloLectura ? QAbstractItemView::NoEditTriggers
                                            : QAbstractItemView::DoubleClicked
                                                  | QAbstractItemView::EditKeyPressed
                                                  | QAbstractItemView::AnyKeyPressed);
    btnReiniciar->setEnabled(!soloLectura && ckReinicia->isChecked());
    actualizaImporte();
}

void TfConfig::actualizaImporte()
{
    const bool activo = vPuntosImpActivo->isChecked();
    for (QWidget *w : std::initializer_list<QWidget *>{vPuntos, vPesos, lbPuntos, lbPesos})
        w->setEnabled(activo);
}

void TfConfig::bEditClick()
{
    // There is no way back but saving or closing.
    bEdit->setChecked(true);
    if (m_edicion)
        return;
    m_edicion = true;
    ponSoloLectura(false);
    if (rbPtolinea->isChecked() && mlineaspuntos->isEmpty())
        agregaLinea();
}

void TfConfig::vPuntosImpActivoClick(bool marcado)
{
    if (marcado && !m_cargando)
        rbPtolinea->setChecked(false);
    actualizaImporte();
}

void TfConfig::rbPtolineaClick(bool marcado)
{
    if (!marcado || m_cargando)
        return;
    vPuntosImpActivo->setChecked(false);
    if (mlineaspuntos->isEmpty())
        agregaLinea();
}

void TfConfig::RBListaEmpleadosClick(bool marcado)
{
    if (!marcado || m_cargando)
        return;
    bool hay = false;
    if (protegido([&] { hay = m_config->hayEmpleados(); }) && !hay)
        MensajeSistema(QStringLiteral("La empresa no tiene empleados registrados."),
                       AvisoSistema,
                       mb::IconInformation);
    if (!hay)
        RBListaClientes->setChecked(true);
}

void TfConfig::chkReinicioClick(bool marcado)
{
    if (!marcado || m_cargando || !editando())
        return;
    const int r
        = MensajeSistema(QStringLiteral("¿Desea reiniciar los puntos en la fecha "
                                        "seleccionada?, esta acción no podrá ser revertida."),
                         QStringLiteral("Reinicio de puntos"),
                         mb::YesNo | mb::IconQuestion | mb::DefButton2);
    if (r == mb::IdYes && AutorizaUsuario(m_sesion, Modulo, BitModificar, true))
        return;
    const QSignalBlocker bloqueo(chkReinicio);
    chkReinicio->setChecked(false);
}

void TfConfig::btnReiniciarClick()
{
    const int r = MensajeSistema(QStringLiteral("¿Desea reiniciar los puntos?, esta acción no "
                                                "podrá ser revertida."),
                                 QStringLiteral("Reinicio de puntos"),
                                 mb::YesNo | mb::IconQuestion | mb::DefButton2);
    if (r != mb::IdYes)
        return;
    if (!AutorizaUsuario(m_sesion, Modulo, BitModificar, true))
        return;
    const ReinicioPuntos::Resultado res = ReinicioPuntos(m_sesion).ejecuta();
    if (!res.ok) {
        MensajeSistema(QStringLiteral("No fue posible reiniciar los puntos: ") + res.error,
                       QStringLiteral("Error"),
                       mb::IconStop);
        return;
    }
    vFolioPuntos->setText(res.siguienteFolio);
}

void TfConfig::bAddArtClick()
{
    ListaCols = {QStringLiteral("clave,,&Clave,100"), QStringLiteral("nombre,,&Nombre,500")};
    if (MuestraListaDS(*mClientes, QStringLiteral("Seleccione un cliente")) != 1
        || mClientes->isEmpty())
        return;
    const int id = mClientes->fieldByName(QStringLiteral("Id")).asInteger();
    // By id: two customers without a key must not look alike.
    if (mDetalle->locate(QStringLiteral("Id"), id)) {
        MensajeSistema(
            QStringLiteral("El cliente ya está en la lista"), AvisoSistema, mb::IconInformation);
        return;
    }
    mDetalle->appendRecord({id,
                            mClientes->fieldByName(QStringLiteral("Clave")).value(),
                            mClientes->fieldByName(QStringLiteral("Nombre")).value()});
}

void TfConfig::bDelArtClick()
{
    if (mDetalle->isEmpty())
        return;
    const QString nombre = mDetalle->fieldByName(QStringLiteral("Nombre")).asString();
    const int r = MensajeSistema(QStringLiteral("¿Desea eliminar el cliente ") + nombre
                                     + QStringLiteral(" ?"),
                                 QStringLiteral("Eliminar"),
                                 mb::YesNo | mb::IconQuestion | mb::DefButton2);
    if (r != mb::IdYes)
        return;
    const QString error
        = m_config->quitaDeListaNegra(mDetalle->fieldByName(QStringLiteral("Id")).asInteger());
    if (!error.isEmpty()) {
        MensajeSistema(QStringLiteral("No fue posible eliminar el cliente de la lista: ") + error,
                       QStringLiteral("Error"),
                       mb::IconStop);
        return;
    }
    mDetalle->deleteRecord();
}

void TfConfig::vArticuloClick()
{
    ListaCols = {QStringLiteral("clave,,&Clave,100"), QStringLiteral("nombre,,&Nombre,500")};
    if (MuestraListaDS(*mArticulos, QStringLiteral("Listado de artículos")) != 1
        || mArticulos->isEmpty())
        return;
    m_artBoleto = mArticulos->fieldByName(QStringLiteral("Id")).asInteger();
    vArticulo->setText(mArticulos->fieldByName(QStringLiteral("Nombre")).asString());
}

void TfConfig::agregaLinea()
{
    mlineaspuntos->checkBrowseMode();
    mlineaspuntos->append();
    mlineaspuntos->post();
    gridLineas->setCurrentIndex(gridLineas->model()->index(mlineaspuntos->recNo(), 0));
}

void TfConfig::lineaElegida(const QString &nombre)
{
    if (mlineaspuntos->isEmpty())
        return;
    const int fila = mlineaspuntos->recNo();
    int linea = 0;
    if (!protegido([&] { linea = m_config->lineaPorNombre(nombre); }))
        return;
    mlineaspuntos->setValueAt(fila, 0, linea);
    int veces = 0;
    for (int r = 0; r < mlineaspuntos->recordCount(); ++r) {
        if (mlineaspuntos->valueAt(r, 0).toInt() == linea)
            ++veces;
    }
    if (veces < 2)
        return;
    MensajeSistema(
        QStringLiteral("La linea ya esta agregada a la lista."), AvisoSistema, mb::IconInformation);
    mlineaspuntos->setRecNo(fila);
    mlineaspuntos->deleteRecord();
    const int actual = std::max(0, mlineaspuntos->recNo());
    gridLineas->setFocus();
    gridLineas->setCurrentIndex(gridLineas->model()->index(actual, 0));
}

ValoresConfig TfConfig::valores() const
{
    ValoresConfig v;
    v.puntosGeneral = vPuntosActivo->isChecked();
    v.puntosVentas = ckPuntosVentas->isChecked();
    v.puntosArticulo = vPuntosArtActivo->isChecked();
    v.puntosImporte = vPuntosImpActivo->isChecked();
    v.factorPuntos = vPuntos->text();
    v.factorPesos = vPesos->text();
    v.puntosLinea = rbPtolinea->isChecked();
    v.tarjeta = ckTarjeta->isChecked();
    v.noVentas = vNoVentas->text();
    v.concepto = vTraspConSal->keyValue().toInt();
    v.almacen = cmbAlmacen->keyValue().toInt();
    v.folioPuntos = vFolioPuntos->text();
    v.folioEmpleados = tefolioPE->text();
    v.listaClientes = RBListaClientes->isChecked();
    v.listaEmpleados = RBListaEmpleados->isChecked();
    v.artSinExistencia = rbArtsinExt->isChecked();
    v.artAlmacenables = chkArtAlmacenables->isChecked();
    v.reinicioProgramado = chkReinicio->isChecked();
    v.fechaReinicio = dtpReinicio->date();
    v.diasAviso = seDias->value();
    v.correoRem = vCorreoRem->text();
    v.password = edPass->text();
    v.host = vHost->text();
    v.puerto = vPuerto->text();
    v.boleto = chkBoleto->isChecked();
    v.artBoleto = m_artBoleto;
    v.formaBoleto = vListaFormas->currentItem() ? vListaFormas->currentItem()->text() : QString();
    return v;
}

void TfConfig::bSaveClick()
{
    if (!editando()) {
        close();
        return;
    }
    const ValoresConfig v = valores();
    if (const std::optional<FallaValidacion> f = ConfigPuntos::valida(v)) {
        pcConfig->setCurrentWidget(f->pagina == TabOtros->objectName() ? TabOtros : TabPuntos);
        if (auto *c = findChild<QWidget *>(f->control))
            c->setFocus();
        MensajeSistema(f->texto, f->titulo, mb::Ok | mb::IconInformation);
        return;
    }
    QList<int> listaNegra;
    for (int r = 0; r < mDetalle->totalCount(); ++r)
        listaNegra << mDetalle->valueOfAnyRow(r, 0).toInt();
    mlineaspuntos->checkBrowseMode();
    QList<LineaPuntos> lineas;
    for (int r = 0; r < mlineaspuntos->totalCount(); ++r) {
        // A blank row goes in as zeros: it matches no article.
        const QVariant importe = mlineaspuntos->valueOfAnyRow(r, 2);
        lineas << LineaPuntos{mlineaspuntos->valueOfAnyRow(r, 0).toInt(),
                              mlineaspuntos->valueOfAnyRow(r, 1).toInt(),
                              importe.isNull() ? fb::Decimal() : importe.value<fb::Decimal>()};
    }
    const QString error = m_config->guarda(v, listaNegra, lineas);
    if (!error.isEmpty()) {
        MensajeSistema(QStringLiteral("No fue posible guardar la configuración: ") + error,
                       AvisoSistema,
                       mb::IconStop);
        return;
    }
    bEdit->setChecked(false);
    close();
}

} // namespace lar
