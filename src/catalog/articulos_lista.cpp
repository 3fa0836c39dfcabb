#include "articulos_lista.h"

#include "addarticulos.h"
#include "impexcel.h"

#include "core/fmain.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "toolkit/hojacalculo.h"
#include "toolkit/memgrid.h"
#include "toolkit/mensajes.h"
#include "toolkit/portapapeles.h"
#include "toolkit/wordsearch.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QFileDialog>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QVBoxLayout>

namespace lar {

namespace {

// Paints the columns that aren't plain text: the 'S'/'N' flags as check boxes,
// the status through its texts and the stock of zero or less in red.
class DelegadoArticulo : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *o, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(o, index);
        switch (index.column()) {
        case Tfcat_articulos_lista::colAlmacenable:
        case Tfcat_articulos_lista::colJuego:
            o->features |= QStyleOptionViewItem::HasCheckIndicator;
            o->checkState
                = index.data(Qt::EditRole).toString() == u"S" ? Qt::Checked : Qt::Unchecked;
            o->text.clear();
            o->displayAlignment = Qt::AlignCenter;
            break;
        case Tfcat_articulos_lista::colEstatus:
            o->text = TextoEstatus(index.data(Qt::EditRole).toString());
            break;
        case Tfcat_articulos_lista::colExistencia:
            if (index.data(Qt::EditRole).toDouble() <= 0)
                o->palette.setColor(QPalette::Text, Qt::red);
            break;
        default:
            break;
        }
    }
};

// The points columns: Enter while editing goes from Puntos to Valor en puntos of the
// same row, and from Valor en puntos to Puntos of the next row.
class DelegadoPuntos : public QStyledItemDelegate
{
public:
    DelegadoPuntos(QTableView *vista, std::function<bool()> salta)
        : QStyledItemDelegate(vista)
        , m_vista(vista)
        , m_salta(std::move(salta))
    {}

    QWidget *createEditor(QWidget *parent,
                          const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override
    {
        auto *e = new QLineEdit(parent);
        e->setValidator(
            new QRegularExpressionValidator(QRegularExpression(QStringLiteral("-?\\d{0,9}")), e));
        Q_UNUSED(option);
        Q_UNUSED(index);
        return e;
    }
    void setEditorData(QWidget *editor, const QModelIndex &index) const override
    {
        static_cast<QLineEdit *>(editor)->setText(index.data(Qt::DisplayRole).toString());
    }
    void setModelData(QWidget *editor,
                      QAbstractItemModel *model,
                      const QModelIndex &index) const override
    {
        const QString t = static_cast<QLineEdit *>(editor)->text();
        model->setData(index, t.isEmpty() || t == u"-" ? QVariant() : QVariant(t.toInt()));
    }

protected:
    bool eventFilter(QObject *o, QEvent *ev) override
    {
        auto *editor = qobject_cast<QWidget *>(o);
        if (editor && ev->type() == QEvent::KeyPress && m_salta()) {
            auto *k = static_cast<QKeyEvent *>(ev);
            if (k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter) {
                const QModelIndex actual = m_vista->currentIndex();
                emit commitData(editor);
                emit closeEditor(editor, QAbstractItemDelegate::NoHint);
                QModelIndex siguiente;
                if (actual.column() == Tfcat_articulos_lista::colPuntos)
                    siguiente = actual.siblingAtColumn(Tfcat_articulos_lista::colValor);
                else
                    siguiente = actual.sibling(actual.row() + 1, Tfcat_articulos_lista::colPuntos);
                if (siguiente.isValid()) {
                    m_vista->setCurrentIndex(siguiente);
                    m_vista->edit(siguiente);
                }
                return true;
            }
        }
        return QStyledItemDelegate::eventFilter(o, ev);
    }

private:
    QTableView *m_vista;
    std::function<bool()> m_salta;
};

} // namespace

std::function<QString(QWidget *)> &Tfcat_articulos_lista::SelectorArchivo()
{
    static std::function<QString(QWidget *)> f = [](QWidget *padre) {
        QFileDialog d(padre, QStringLiteral("Importar de Excel"));
        d.setNameFilter(QStringLiteral("Archivos de Excel (*.xlsx *.xls)"));
        d.setDefaultSuffix(QStringLiteral("xlsx"));
        d.setFileMode(QFileDialog::ExistingFile);
        return d.exec() == QDialog::Accepted ? d.selectedFiles().value(0) : QString();
    };
    return f;
}

Tfcat_articulos_lista::Tfcat_articulos_lista(Sesion &sesion, QWidget *parent)
    : TMForm(parent)
    , m_s(sesion)
    , m_datos(sesion)
    , mArt(std::make_unique<MemTable>())
{
    setObjectName(QStringLiteral("Tfcat_articulos_lista"));
    setWindowTitle(QStringLiteral("Artículos con puntos"));
    resize(950, 600);
    mArt->setObjectName(QStringLiteral("mArt"));
    DefineArticulos(*mArt);
    mArt->open();

    // Tools: load, add, import, bulk assignment, save.
    Panel2 = new QFrame(this);
    Panel2->setObjectName(QStringLiteral("Panel2"));
    Button1 = Boton(QStringLiteral("Button1"), QStringLiteral("Actualizar"));
    Button1->setToolTip(QStringLiteral("Actualizar la lista"));
    bArticulos = Boton(QStringLiteral("bArticulos"), QStringLiteral("&Artículos"));
    btnExcel = Boton(QStringLiteral("btnExcel"), QStringLiteral("Importar de &Excel"));
    vAplica = new QLineEdit(this);
    vAplica->setObjectName(QStringLiteral("vAplica"));
    vAplica->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("\\d{0,9}")), vAplica));
    vAplica->setMaximumWidth(80);
    vAplica->setAccessibleName(QStringLiteral("Puntos a asignar"));
    rPuntos = new QRadioButton(QStringLiteral("Puntos"), this);
    rPuntos->setObjectName(QStringLiteral("rPuntos"));
    rPuntos->setChecked(true);
    rValor = new QRadioButton(QStringLiteral("Valor en puntos"), this);
    rValor->setObjectName(QStringLiteral("rValor"));
    auto *grupoAplica = new QButtonGroup(this);
    grupoAplica->addButton(rPuntos);
    grupoAplica->addButton(rValor);
    BitBtn5 = Boton(QStringLiteral("BitBtn5"), QStringLiteral("&Asignar"));
    bGuardar = Boton(QStringLiteral("bGuardar"), QStringLiteral("&Guardar"));
    bGuardar->setVisible(false);
    bNuevo = Boton(QStringLiteral("bNuevo"), QStringLiteral("Nuevo artículo"));
    bNuevo->setVisible(false);
    auto *herramientas = new QHBoxLayout(Panel2);
    herramientas->setContentsMargins(0, 0, 0, 0);
    herramientas->addWidget(Button1);
    herramientas->addWidget(bArticulos);
    herramientas->addWidget(btnExcel);
    herramientas->addSpacing(20);
    herramientas->addWidget(vAplica);
    herramientas->addWidget(rPuntos);
    herramientas->addWidget(rValor);
    herramientas->addWidget(BitBtn5);
    herramientas->addStretch();
    herramientas->addWidget(bNuevo);
    herramientas->addWidget(bGuardar);

    // Search.
    rClave = new QRadioButton(QStringLiteral("Cla&ve"), this);
    rClave->setObjectName(QStringLiteral("rClave"));
    rLinea = new QRadioButton(QStringLiteral("&Línea"), this);
    rLinea->setObjectName(QStringLiteral("rLinea"));
    rNombre = new QRadioButton(QStringLiteral("&Nombre"), this);
    rNombre->setObjectName(QStringLiteral("rNombre"));
    rNombre->setChecked(true);
    vBusca = new QLineEdit(this);
    vBusca->setObjectName(QStringLiteral("vBusca"));
    vBusca->setAccessibleName(QStringLiteral("Buscar"));
    vBusca->setPlaceholderText(QStringLiteral("Buscar"));
    vBusca->installEventFilter(this);
    chkExist = new QCheckBox(QStringLiteral("Solo con existencia"), this);
    chkExist->setObjectName(QStringLiteral("chkExist"));
    chkExist->setVisible(false);
    vCant = new QLabel(this);
    vCant->setObjectName(QStringLiteral("vCant"));
    auto *busqueda = new QHBoxLayout;
    busqueda->addWidget(rClave);
    busqueda->addWidget(rNombre);
    busqueda->addWidget(rLinea);
    busqueda->addWidget(vBusca, 1);
    busqueda->addWidget(chkExist);
    busqueda->addWidget(vCant);

    pAviso = new QLabel(QStringLiteral("Cargando el listado"), this);
    pAviso->setObjectName(QStringLiteral("pAviso"));
    pAviso->setAlignment(Qt::AlignCenter);
    pAviso->setFrameShape(QFrame::StyledPanel);
    pAviso->setVisible(false);
    pAvisa = new QLabel(QStringLiteral("Guardando..."), this);
    pAvisa->setObjectName(QStringLiteral("pAvisa"));
    pAvisa->setAlignment(Qt::AlignCenter);
    pAvisa->setFrameShape(QFrame::StyledPanel);
    pAvisa->setVisible(false);

    cxGrid = new MemGrid(this);
    cxGrid->setObjectName(QStringLiteral("cxGrid"));
    cxGrid->setAccessibleName(QStringLiteral("Artículos"));
    MemTableModel *m = cxGrid->memModel();
    m->addColumn(QStringLiteral("CLAVE_ARTICULO"), QStringLiteral("Clave"), 120);
    m->addColumn(QStringLiteral("NOMBRE"), QStringLiteral("Nombre"), 300);
    m->addColumn(QStringLiteral("ES_ALMACENABLE"), QStringLiteral("Almacenable"), 85);
    m->addColumn(QStringLiteral("ES_JUEGO"), QStringLiteral("Juego"), 50);
    m->addColumn(QStringLiteral("ESTATUS"), QStringLiteral("Estatus"), 90);
    m->addColumn(QStringLiteral("LINEA"), QStringLiteral("Línea"), 140);
    m->addColumn(QStringLiteral("UNIDAD_VENTA"), QStringLiteral("U.Venta"), 60);
    m->addColumn(QStringLiteral("PUNTOS"), QStringLiteral("Puntos"), 60);
    m->addColumn(QStringLiteral("VALOR_PUNTOS"), QStringLiteral("Valor en puntos"), 105);
    m->addColumn(QStringLiteral("Existencia"), QStringLiteral("Existencia"), 0);
    cxGrid->setTable(mArt.get());
    m_pintor = new HighlightDelegate(this);
    // Joined keys show the key that holds the words, or the first one; '^' is never drawn.
    m_pintor->setTextFunction([this](const QModelIndex &i, const QString &t) {
        return i.column() == colClave ? textoClave(t) : t;
    });
    cxGrid->setItemDelegate(m_pintor);
    auto *delegado = new DelegadoArticulo(this);
    for (int c : {colAlmacenable, colJuego, colEstatus, colExistencia})
        cxGrid->setItemDelegateForColumn(c, delegado);
    auto *puntos = new DelegadoPuntos(cxGrid, [this] { return !SoloPorPuntos; });
    cxGrid->setItemDelegateForColumn(colPuntos, puntos);
    cxGrid->setItemDelegateForColumn(colValor, puntos);
    cxGrid->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed
                            | QAbstractItemView::AnyKeyPressed);
    cxGrid->installEventFilter(this);
    for (int c = 0; c < m->columnCountSet(); ++c)
        m_anchos.push_back(c == colExistencia ? 90 : m->column(c).width);
    muestraColumna(colExistencia, false);

    bAdd = Boton(QStringLiteral("bAdd"), QStringLiteral("&Agregar"));
    bAdd->setVisible(false);
    bCancelar = Boton(QStringLiteral("bCancelar"), QStringLiteral("&Cerrar"));
    bCancelar->setVisible(false);
    auto *pie = new QHBoxLayout;
    pie->addStretch();
    pie->addWidget(bAdd);
    pie->addWidget(bCancelar);

    auto *v = new QVBoxLayout(this);
    v->addWidget(Panel2);
    v->addLayout(busqueda);
    v->addWidget(pAviso);
    v->addWidget(pAvisa);
    v->addWidget(cxGrid, 1);
    v->addLayout(pie);

    tAvance = new QTimer(this);
    tAvance->setObjectName(QStringLiteral("tAvance"));
    tAvance->setInterval(500);
    connect(tAvance, &QTimer::timeout, this, [this] { m_avanceVisible = true; });

    connect(Button1, &QPushButton::clicked, this, &Tfcat_articulos_lista::Button1Click);
    connect(bArticulos, &QPushButton::clicked, this, &Tfcat_articulos_lista::bArticulosClick);
    connect(btnExcel, &QPushButton::clicked, this, &Tfcat_articulos_lista::btnExcelClick);
    connect(BitBtn5, &QPushButton::clicked, this, &Tfcat_articulos_lista::BitBtn5Click);
    connect(bGuardar, &QPushButton::clicked, this, &Tfcat_articulos_lista::bGuardarClick);
    connect(bAdd, &QPushButton::clicked, this, &Tfcat_articulos_lista::bAddClick);
    connect(bCancelar, &QPushButton::clicked, this, &QDialog::reject);
    connect(vBusca, &QLineEdit::textChanged, this, [this] { vBuscaChange(); });
    connect(
        rClave, &QRadioButton::clicked, this, [this] { eligeBusqueda(0, art::CLAVE_ARTICULO); });
    connect(rLinea, &QRadioButton::clicked, this, [this] { eligeBusqueda(5, art::LINEA); });
    connect(rNombre, &QRadioButton::clicked, this, [this] { eligeBusqueda(1, art::NOMBRE); });
    connect(cxGrid, &QAbstractItemView::doubleClicked, this, [this] {
        if (SoloPorPuntos || AgregaConDobleClic)
            bAdd->click();
    });
    connect(mArt.get(), &MemTable::dataChanged, this, [this] { actualizaCuenta(); });

    mArt->setOnFilterRecord([this](MemTable &t) { return pasaRegistro(t); });
    mArt->setFiltered(true);

    Filtros = {QStringLiteral("Todos"),
               QStringLiteral("Solo activos"),
               QStringLiteral("Solo suspensión de compras"),
               QStringLiteral("Solo suspensión de ventas"),
               QStringLiteral("Solo susp. de compras y ventas"),
               QStringLiteral("Solo baja")};
    FiltroIndice = 1;
    FiltroIdx = 1;

    terminaDiseno();
    if (LeeRegistro(m_s, QStringLiteral("Artículos sin existencia")) == u"S") {
        SinExistencia = true;
        chkExist->setVisible(false);
        chkExist->setChecked(false);
        AceptaSinExis = true;
    } else {
        fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
        q.setTrimChars(true);
        q.setSql(QStringLiteral("select valor\nfrom registry\n"
                                "where nombre='ACEPTAR_SIN_EXIS' and padre_id=\n"
                                "  (select elemento_id\n  from registry\n"
                                "  where nombre='PreferenciasEmpresa' and padre_id=0)"));
        q.open();
        const QString valor = q.eof() ? QString() : q.field(0).toString();
        q.close();
        AceptaSinExis = valor == u"S";
        chkExist->setChecked(!AceptaSinExis);
    }
    actualizaCuenta();
}

Tfcat_articulos_lista::~Tfcat_articulos_lista()
{
    mArt->setOnFilterRecord(nullptr);
}

void Tfcat_articulos_lista::ConfiguraCanje(int almacenId, int puntos, AgregaArtFn receptor)
{
    Tipo = 5;
    resize(950, height());
    Panel2->setVisible(false);
    SoloPorPuntos = true;
    chkExist->setVisible(true);
    chkExist->setChecked(true);
    muestraColumna(colExistencia, true);
    cxGrid->memModel()->column(colExistencia).editable = false;
    bCancelar->setVisible(true);
    bGuardar->setVisible(false);
    for (int c : {colPuntos, colAlmacenable, colJuego, colEstatus})
        muestraColumna(c, false);
    AlmacenId = almacenId;
    OnAgregaArt = std::move(receptor);
    bAdd->setVisible(true);
    PuntosDisponibles = puntos;
    SoloNoAlmacenables = false;
    SoloExistentes = false;
    AgregaConDobleClic = false;
    SoloAlmacenables = LeeRegistro(m_s, QStringLiteral("ArtAlmacenables")) == u"S";
}

void Tfcat_articulos_lista::ConfiguraActividad(int puntos, AgregaArtFn receptor)
{
    Tipo = 5;
    resize(950, height());
    Panel2->setVisible(false);
    SoloPorPuntos = false;
    chkExist->setVisible(false);
    chkExist->setChecked(false);
    muestraColumna(colExistencia, false);
    bGuardar->setVisible(false);
    for (int c : {colValor, colAlmacenable, colJuego, colEstatus})
        muestraColumna(c, false);
    AlmacenId = 0;
    OnAgregaArt = std::move(receptor);
    bAdd->setVisible(true);
    PuntosDisponibles = puntos;
    SoloNoAlmacenables = true;
    SoloExistentes = true;
    AgregaConDobleClic = true;
    SoloAlmacenables = false;
}

void Tfcat_articulos_lista::muestraColumna(int columna, bool visible)
{
    // The grid lays its columns out again from the model's widths at every load.
    cxGrid->memModel()->column(columna).width = visible ? m_anchos[size_t(columna)] : 0;
    cxGrid->applyColumns();
}

void Tfcat_articulos_lista::showEvent(QShowEvent *ev)
{
    TMForm::showEvent(ev);
    MemTableModel *m = cxGrid->memModel();
    m->column(colPuntos).editable = puedePuntos();
    m->column(colValor).editable = puedeValor();
    bGuardar->setVisible(puedePuntos() || puedeValor());
}

void Tfcat_articulos_lista::actualizaCuenta()
{
    if (!Actualizando && mArt->isActive() && !mArt->controlsDisabled())
        vCant->setText(QString::number(mArt->recordCount()));
}

OpcionesCarga Tfcat_articulos_lista::opciones() const
{
    OpcionesCarga op;
    op.clavesAlternas = m_clavesAlternas;
    op.soloPorPuntos = SoloPorPuntos;
    op.puntosDisponibles = PuntosDisponibles;
    op.soloNoAlmacenables = SoloNoAlmacenables;
    op.soloAlmacenables = SoloAlmacenables;
    op.almacenId = AlmacenId;
    op.soloConExistencia = chkExist->isChecked() && !chkExist->isHidden();
    op.soloExistentes = SoloExistentes;
    return op;
}

void Tfcat_articulos_lista::controles(bool activos)
{
    Panel2->setEnabled(activos);
    vBusca->setEnabled(activos);
    bAdd->setEnabled(activos);
    if (activos) {
        mArt->enableControls();
        QApplication::restoreOverrideCursor();
    } else {
        mArt->disableControls();
        QApplication::setOverrideCursor(Qt::WaitCursor);
    }
}

void Tfcat_articulos_lista::Button1Click()
{
    cargaLista(std::nullopt);
}

void Tfcat_articulos_lista::cargaLista(const std::optional<FiltroAgregar> &agregar)
{
    Actualizando = true;
    m_clavesAlternas
        = LeeRegistro(m_s, QStringLiteral("Buscar en claves alternas de artículos")) == u"S";
    m_avanceVisible = false;
    tAvance->start();
    const MemTable::Bookmark marca = mArt->bookmark();
    controles(false);
    mArt->setFiltered(false);
    vCant->setText(QStringLiteral("por favor espere"));
    pAviso->setVisible(true);
    QCoreApplication::processEvents();
    OpcionesCarga op = opciones();
    op.agregar = agregar;
    try {
        m_datos.carga(*mArt, op, [this](int leidos) {
            vCant->setText(QString::number(leidos));
            QCoreApplication::processEvents();
        });
    } catch (const std::exception &e) {
        Actualizando = false;
        tAvance->stop();
        pAviso->setVisible(false);
        mArt->setFiltered(true);
        controles(true);
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
        return;
    }
    Actualizando = false;
    tAvance->stop();
    pAviso->setVisible(false);
    if (mArt->bookmarkValid(marca))
        mArt->gotoBookmark(marca);
    mArt->first();

    QString busqueda;
    Registro(m_s,
             QStringLiteral("ListaArts"),
             QStringLiteral("PuntosLar"),
             m_s.UsuarioActual,
             true,
             busqueda,
             QStringLiteral("Busqueda"));
    if (busqueda == u"Clave") {
        rClave->setChecked(true);
        eligeBusqueda(0, art::CLAVE_ARTICULO);
    } else if (busqueda == u"Línea") {
        rLinea->setChecked(true);
        eligeBusqueda(5, art::LINEA);
    } else {
        rNombre->setChecked(true);
        eligeBusqueda(1, art::NOMBRE);
    }
    mArt->setFiltered(true);
    controles(true);
    mArt->first();
    actualizaCuenta();
}

void Tfcat_articulos_lista::eligeBusqueda(int colBusca, int campo)
{
    ColBusca = colBusca;
    CampoBusca = campo;
    vBusca->clear();
    mArt->setIndexFieldNames(mArt->fieldDef(campo).name);
    m_pintor->setField(campo);
    vBusca->setFocus();
}

bool Tfcat_articulos_lista::pasaRegistro(MemTable &t) const
{
    // Runs for every row on each key press: texts are read in place, never copied.
    static constexpr std::string_view estatus[] = {"", "A", "C", "V", "S", "B"};
    if (FiltroIdx >= 1 && FiltroIdx <= 5 && t.upperUtf8(art::ESTATUS) != estatus[FiltroIdx])
        return false;
    if (Palabras.isEmpty())
        return true;
    if (ColBusca != 0)
        return m_buscador.matches(t.upperUtf8(CampoBusca));
    const QVariant &claves = t.value(art::CLAVE_ARTICULO);
    if (claves.typeId() != QMetaType::QString)
        return false;
    return ClavesCoinciden(*static_cast<const QString *>(claves.constData()), Palabras);
}

void Tfcat_articulos_lista::vBuscaChange()
{
    Palabras = splitWords(vBusca->text());
    m_buscador = WordMatcher(Palabras);
    m_pintor->setWords(Palabras);
    m_pintor->setField(CampoBusca);
    mArt->refresh();
    cxGrid->viewport()->update();
    actualizaCuenta();
}

void Tfcat_articulos_lista::DoFiltroChange(QComboBox *sender)
{
    if (!sender)
        return;
    FiltroIdx = sender->currentIndex();
    FiltroIndice = FiltroIdx;
    mArt->refresh();
    actualizaCuenta();
}

QString Tfcat_articulos_lista::textoClave(const QString &claves) const
{
    if (!m_clavesAlternas)
        return claves;
    const QString k = ClaveQueCoincide(claves, ColBusca == 0 ? Palabras : QStringList());
    return k.isEmpty() ? ClaveQueCoincide(claves, {}) : k;
}

QString Tfcat_articulos_lista::claveElegida() const
{
    if (!rClave->isChecked() || vBusca->text().isEmpty() || mArt->isEmpty())
        return QString();
    return ClaveQueCoincide(mArt->value(art::CLAVE_ARTICULO).toString(), Palabras);
}

void Tfcat_articulos_lista::bAddClick()
{
    const QString clave = claveElegida();
    if (mArt->isEmpty() || !OnAgregaArt)
        return;
    mArt->checkBrowseMode();
    if (OnAgregaArt(mArt->value(art::ARTICULO_ID).toInt(), clave, 1.0) && Tipo == 5)
        done(1);
}

bool Tfcat_articulos_lista::AgregaArt(const QString &clave,
                                      int articuloId,
                                      const QVariant &valorPuntos,
                                      const QVariant &puntos)
{
    try {
        switch (m_datos.agrega(*mArt, opciones(), clave, articuloId, valorPuntos, puntos)) {
        case ArticulosPuntos::Agrega::Agregado:
            return true;
        case ArticulosPuntos::Agrega::NoEncontrado:
            MensajeSistema(QStringLiteral("No fue posible encontrar el artículo"),
                           QStringLiteral("Aviso del sistema"),
                           mb::IconWarning);
            return false;
        case ArticulosPuntos::Agrega::SinRenglon:
            return false;
        }
    } catch (const std::exception &e) {
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
    }
    return false;
}

void Tfcat_articulos_lista::BitBtn5Click()
{
    const QString texto = vAplica->text().trimmed();
    if (texto.isEmpty())
        return;
    if ((rPuntos->isChecked() && !puedePuntos()) || (rValor->isChecked() && !puedeValor()))
        return;
    const int campo = rPuntos->isChecked() ? art::PUNTOS : art::VALOR_PUNTOS;
    const int valor = texto.toInt();
    controles(false);
    mArt->checkBrowseMode();
    // The rows in sight, as the filter and the search leave them.
    const int n = mArt->recordCount();
    for (int r = 0; r < n; ++r)
        mArt->setValueAt(r, campo, valor);
    controles(true);
    mArt->first();
}

void Tfcat_articulos_lista::bGuardarClick()
{
    if (MensajeSistema(QStringLiteral("¿Desea guardar los cambios?"),
                       QStringLiteral("Guardar"),
                       mb::YesNo | mb::IconQuestion | mb::DefButton2)
        == mb::IdNo)
        return;
    pAvisa->setVisible(true);
    controles(false);
    QCoreApplication::processEvents();
    const auto falla = m_datos.guarda(*mArt);
    controles(true);
    mArt->first();
    pAvisa->setVisible(false);
    if (falla)
        MensajeSistema(falla->texto, falla->titulo, mb::IconStop);
}

void Tfcat_articulos_lista::bArticulosClick()
{
    TfAddArticulos d(m_s, this);
    if (d.exec() != 1 || !d.Valido)
        return;
    cargaLista(d.filtro());
}

void Tfcat_articulos_lista::btnExcelClick()
{
    const QString archivo = SelectorArchivo()(this);
    if (archivo.isEmpty())
        return;
    TfImpExcelCP d(m_s, this);
    if (d.exec() != 1)
        return;
    const ColumnasImportacion c = d.columnas();
    importaExcel(archivo, c.clave, c.nombre, c.puntos, c.valor, c.primerRenglon);
}

void Tfcat_articulos_lista::importaExcel(const QString &archivo,
                                         int colClave,
                                         int colNombre,
                                         int colPuntos,
                                         int colValor,
                                         int primerRenglon)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    HojaCalculo hoja;
    QString error;
    if (!hoja.abre(archivo, &error)) {
        QApplication::restoreOverrideCursor();
        MensajeSistema(QStringLiteral("No fue posible abrir el archivo: ") + error,
                       QStringLiteral("Error"),
                       mb::IconStop);
        return;
    }
    mArt->disableControls();
    mArt->close();
    mArt->open();
    ResultadoImportacion r;
    try {
        r = ImportaHoja(
            hoja,
            {colClave, colNombre, colPuntos, colValor, primerRenglon},
            [this](const QString &n) { return m_datos.articuloPorNombre(n); },
            [this](const QString &k) { return m_datos.articuloPorClave(k); },
            [this](const QString &clave, int id, double valor, double puntos) {
                AgregaArt(clave, id, qRound64(valor), qRound64(puntos));
            });
    } catch (const std::exception &e) {
        mArt->enableControls();
        QApplication::restoreOverrideCursor();
        MensajeSistema(QStringLiteral("No fue posible abrir el archivo: ") + TextoExcepcion(e),
                       QStringLiteral("Error"),
                       mb::IconStop);
        return;
    }
    if (!r.detalle.isEmpty())
        ServicioPortapapeles::ponTexto(r.detalle);
    MensajeSistema(r.resumen, QStringLiteral("Importar de Excel"), mb::IconInformation);
    mArt->enableControls();
    QApplication::restoreOverrideCursor();
    mArt->first();
    actualizaCuenta();
}

void Tfcat_articulos_lista::ajustaPunto(int columna, int delta)
{
    const QModelIndex i = cxGrid->currentIndex();
    if (!i.isValid() || i.column() != columna || mArt->isEmpty())
        return;
    const int campo = columna == colPuntos ? art::PUNTOS : art::VALOR_PUNTOS;
    const QVariant v = mArt->valueAt(i.row(), campo);
    const int actual = v.isNull() ? 0
                                  : int(mArt->fieldDef(campo).type == FieldType::Currency
                                            ? v.value<fb::Decimal>().toDouble()
                                            : v.toDouble());
    mArt->setValueAt(i.row(), campo, actual + delta);
}

bool Tfcat_articulos_lista::eventFilter(QObject *o, QEvent *ev)
{
    if (ev->type() != QEvent::KeyPress)
        return TMForm::eventFilter(o, ev);
    auto *k = static_cast<QKeyEvent *>(ev);
    if (o == vBusca) {
        if (TeclaDeBusqueda(k, vBusca, *mArt, cxGrid->viewport()))
            return true;
        if (!(k->modifiers() & (Qt::ControlModifier | Qt::AltModifier))
            && (k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter)) {
            if (Tipo != 1)
                bAdd->click();
            return true;
        }
    } else if (o == cxGrid) {
        const bool teclado = k->modifiers() & Qt::KeypadModifier;
        const bool control = (k->modifiers() & ~Qt::KeypadModifier) == Qt::ControlModifier;
        if (teclado && control && (k->key() == Qt::Key_Plus || k->key() == Qt::Key_Minus)) {
            const int col = cxGrid->currentIndex().column();
            if (col == colPuntos || col == colValor) {
                ajustaPunto(col, k->key() == Qt::Key_Plus ? 1 : -1);
                return true;
            }
        }
        if ((k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter) && SoloPorPuntos) {
            bAdd->click();
            return true;
        }
    }
    return TMForm::eventFilter(o, ev);
}

bool Tfcat_articulos_lista::FormKeyDown(QKeyEvent *ev)
{
    if (ev->key() == Qt::Key_Escape && bAdd->isVisible()) {
        reject();
        return true;
    }
    return TMForm::FormKeyDown(ev);
}

void RegistraArticulosPuntos()
{
    FilaModulo m;
    m.tag = 72;
    m.clase = QStringLiteral("Tfcat_articulos_lista");
    m.modal = false;
    m.creaForma = [](TfMain &principal) -> TMForm * {
        return new Tfcat_articulos_lista(principal.sesion());
    };
    m.alAbrir = [](TMForm *f) {
        if (auto *a = qobject_cast<Tfcat_articulos_lista *>(f))
            a->SetType(1);
    };
    RegistraModulo(m);
}

} // namespace lar
