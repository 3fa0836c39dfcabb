#include "flista.h"

#include "core/sesion.h"
#include "fb/query.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/radiogroup.h"
#include "toolkit/wordsearch.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace lar {

namespace {

// Rows that Page Up and Page Down move in the search box.
constexpr int kPagina = 14;

} // namespace

TFLista::TFLista(QWidget *parent)
    : QDialog(parent)
    , m_mem(std::make_unique<MemTable>())
    , m_vivas(std::make_unique<MemTable>())
{
    setObjectName(QStringLiteral("FLista"));
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setModal(true);
    m_mem->setObjectName(QStringLiteral("Mem"));
    // The memory path's own table filters by the words of the box.
    m_mem->setFiltered(true);

    Lista = new MemGrid(this);
    Lista->setObjectName(QStringLiteral("Lista"));
    m_pintor = new HighlightDelegate(this);
    Lista->setItemDelegate(m_pintor);
    m_rejilla = Lista;

    Busqueda = new RadioGroup(QStringLiteral("Búsqueda rápida"), this);
    Busqueda->setObjectName(QStringLiteral("Busqueda"));
    // Two design-time items, replaced at run time.
    Busqueda->setItems({QStringLiteral("&Clave"), QStringLiteral("&Nombre")});
    Busca = new QLineEdit(this);
    Busca->setObjectName(QStringLiteral("Busca"));
    // The group above it is its caption on screen.
    Busca->setAccessibleName(QStringLiteral("Búsqueda rápida"));
    Busca->installEventFilter(this);
    Aceptar = new QPushButton(QStringLiteral("&Aceptar"), this);
    Aceptar->setObjectName(QStringLiteral("Aceptar"));
    Aceptar->setDefault(true);
    Cancelar = new QPushButton(QStringLiteral("Ca&ncelar"), this);
    Cancelar->setObjectName(QStringLiteral("Cancelar"));

    auto *botones = new QHBoxLayout;
    botones->addWidget(Busca, 1);
    botones->addWidget(Aceptar);
    botones->addWidget(Cancelar);
    auto *v = new QVBoxLayout(this);
    v->addWidget(Lista, 1);
    v->addWidget(Busqueda);
    v->addLayout(botones);

    connect(Busca, &QLineEdit::textChanged, this, [this] { BuscaChange(); });
    connect(Busqueda, &RadioGroup::itemIndexChanged, this, [this] {
        if (isVisible())
            FormShow();
    });
    connect(Aceptar, &QPushButton::clicked, this, &TFLista::aceptarClick);
    connect(Cancelar, &QPushButton::clicked, this, &QDialog::reject);
    connect(Lista, &QAbstractItemView::doubleClicked, this, [this] {
        if (Aceptar->isEnabled())
            Aceptar->click();
    });
    resize(360, 420);
}

TFLista::~TFLista()
{
    quitaFiltro();
}

void TFLista::adjunta(MemTable *ds)
{
    m_ds = ds;
    m_rejilla->setTable(ds);
}

void TFLista::iniciaColumnas(int desde, bool porTitulo)
{
    EnConsulta = true;
    if (m_query)
        m_query->close();
    adjunta(nullptr);
    Campos.clear();
    // The check-box grid keeps its design columns.
    if (m_rejilla == Lista)
        m_rejilla->memModel()->clearColumns();
    m_mem->close();
    adjunta(m_mem.get());
    Busqueda->clearItems();
    CamposBusqueda.clear();
    m_anchoTotal = 0;

    const bool columnas = m_rejilla == Lista;
    for (int i = 0; i < ListaCols.size(); ++i) {
        const ColLista c = ParseColLista(ListaCols[i]);
        Campos += c.campo + QStringLiteral(", ");
        if (i >= desde) {
            if (columnas) {
                const QString campo = porTitulo && c.porTitulo ? c.titulo : c.campo;
                m_rejilla->memModel()->addColumn(campo, c.tituloRejilla(), c.ancho);
            }
            if (!c.busqueda.isEmpty())
                Busqueda->addItem(c.titulo);
            CamposBusqueda << c.busqueda;
        }
        m_anchoTotal += c.ancho + 1;
    }
    Campos.chop(2);
}

// A picker needs columns, and one that is already on screen can't be shown again.
static bool puedeMostrarse(const QWidget &dialogo)
{
    if (ListaCols.isEmpty()) {
        ListaBusquedaIni = -1;
        return false;
    }
    if (dialogo.isVisible()) {
        MensajeSistema(
            QStringLiteral("Cierre una o más ventanas del sistema para mostrar la lista"),
            QStringLiteral("Lista"),
            mb::IconWarning);
        return false;
    }
    return true;
}

int TFLista::preparaLista(Sesion &sesion,
                          const QString &tabla,
                          const QString &titulo,
                          const QString &condicion,
                          int busqueda)
{
    if (!puedeMostrarse(*this))
        return 2;
    m_query = std::make_unique<fb::Query>(&sesion.fbDatabase(), &sesion.fbViewTrans());
    m_query->setTrimChars(true);
    Tabla = tabla;
    Condicion = condicion;
    iniciaColumnas(0, true);

    if (!Condicion.isEmpty()) {
        // The live path: the show step opens the query.
        adjunta(m_vivas.get());
    } else {
        m_query->setSql(QStringLiteral("SELECT ") + Campos + QStringLiteral(" FROM ") + Tabla);
        m_query->open();
        m_mem->copyStructure(*m_query);
        m_mem->open();
        m_mem->loadFromQuery(*m_query);
        m_query->close();
        for (const QString &campo : std::as_const(CamposBusqueda))
            m_mem->addIndex(QStringLiteral("i") + campo, campo);
        m_mem->first();
        adjunta(m_mem.get());
        EnConsulta = false;
    }
    terminaPreparacion(titulo, busqueda);
    return -1;
}

int TFLista::preparaDS(MemTable &dataSet,
                       const QString &titulo,
                       const QString &condicion,
                       int busqueda)
{
    if (!puedeMostrarse(*this))
        return 2;
    iniciaColumnas(0, false);
    Condicion = condicion; // kept, plays no part
    adjunta(&dataSet);
    EnConsulta = false;
    terminaPreparacion(titulo, busqueda);
    return -1;
}

void TFLista::terminaPreparacion(const QString &titulo, int busqueda)
{
    Busqueda->setColumns(std::max(1, Busqueda->count()));
    m_rejilla->applyColumns();

    // Width: the columns plus 45, at least 360, at most the screen; centred.
    QScreen *pantalla = screen();
    const QRect geo = pantalla ? pantalla->geometry() : QRect(0, 0, 1024, 768);
    const int ancho = std::min(std::max(m_anchoTotal + 45, 360), geo.width());
    resize(ancho, height());
    move(geo.left() + geo.width() / 2 - ancho / 2, geo.top() + (geo.height() - height()) / 2);

    const int items = Busqueda->count();
    Busqueda->setItemIndex(BusquedaInicial(items, busqueda));
    Busca->setEnabled(items > 0);
    ListaBusquedaIni = -1;
    Busca->setVisible(items > 0);
    Busqueda->setVisible(Busca->isVisibleTo(this));
    setWindowTitle(titulo);
    Lista->setAccessibleName(titulo);
}

void TFLista::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    if (!m_mostrada) {
        m_mostrada = true;
        FormShow();
    }
}

void TFLista::FormShow()
{
    Listo = false;
    Busca->clear();
    if (!Busca->isEnabled()) {
        Busca->hide();
        Busqueda->hide();
    } else {
        Busca->show();
        Busqueda->show();
        const int i = Busqueda->itemIndex();
        CampoBusca = i >= 0 && i < CamposBusqueda.size() ? CamposBusqueda[i] : QString();
        if (m_ds && m_ds->isActive())
            IdxBusca = m_ds->fieldIndex(CampoBusca);
    }
    try {
        if (EnConsulta) {
            FiltroConsulta.clear();
            abreConsulta();
            IdxBusca = m_ds->fieldIndex(CampoBusca);
        } else if (m_ds) {
            m_ds->setIndexFieldNames(CampoBusca);
            if (m_ds->filtered())
                instalaFiltro();
        }
    } catch (const std::exception &e) {
        // A search field that the data set lacks: tell, and leave the rows as they are.
        MensajeSistema(QString::fromUtf8(e.what()), QStringLiteral("Error"), mb::IconStop);
    }
    if (Aceptar->isEnabled() && Aceptar->isVisible())
        Aceptar->setFocus();
    Listo = true;
    BuscaChange();
    if (Busca->isEnabled() && Busca->isVisible())
        Busca->setFocus();
    else
        m_rejilla->setFocus();
}

void TFLista::abreConsulta()
{
    m_query->close();
    m_query->clearSql();
    m_query->addSql(QStringLiteral("SELECT ") + Campos);
    m_query->addSql(QStringLiteral("FROM ") + Tabla);
    if (!Condicion.isEmpty())
        m_query->addSql(QStringLiteral("WHERE ") + Condicion);
    if (QueryFiltrada && !FiltroConsulta.isEmpty())
        m_query->addSql((Condicion.isEmpty() ? QStringLiteral("WHERE (") : QStringLiteral("AND ("))
                        + FiltroConsulta + u')');
    m_query->open();
    m_vivas->copyStructure(*m_query);
    m_vivas->open();
    m_vivas->loadFromQuery(*m_query);
    m_query->close();
    m_vivas->first();
    Numericos.clear();
    for (int i = 0; i < m_vivas->fieldCount(); ++i) {
        if (m_vivas->fieldDef(i).isNumeric())
            Numericos << m_vivas->fieldDef(i).name;
    }
    Numericos.sort();
}

void TFLista::instalaFiltro()
{
    m_ds->setOnFilterRecord([this](MemTable &t) {
        if (Palabras.isEmpty())
            return true;
        return IdxBusca >= 0 && m_buscador.matches(t.upperUtf8(IdxBusca));
    });
}

void TFLista::quitaFiltro()
{
    if (esTablaMemoria() && m_ds->hasFilter())
        m_ds->setOnFilterRecord(nullptr);
}

void TFLista::BuscaChange()
{
    if (!Listo)
        return;
    const QString texto = Busca->text();
    if (EnConsulta) {
        FiltroConsulta
            = CondicionLike(CampoBusca, texto, QStringLiteral("LIKE"), true, QStringLiteral("%"));
        if (QueryFiltrada)
            abreConsulta();
    } else if (m_ds && m_ds->isActive()) {
        if (m_ds->filtered() || siempreFiltra()) {
            Palabras = splitWords(texto);
            m_buscador = WordMatcher(Palabras);
            m_ds->refresh();
        } else {
            m_ds->findNearest({texto});
        }
    }
    Aceptar->setEnabled(!SinAceptar && m_ds && m_ds->isActive() && !m_ds->isEmpty());
    m_pintor->setWords(Palabras);
    m_pintor->setField(IdxBusca);
    m_rejilla->viewport()->update();
}

void TFLista::aceptarClick()
{
    if (!Aceptar->isEnabled())
        return;
    if (m_ds && m_ds->isActive() && !m_ds->isEmpty()) {
        m_ds->checkBrowseMode();
        ListaValor1 = m_ds->field(0).asString();
        if (m_ds->fieldCount() > 1)
            ListaValor2 = m_ds->field(1).asString();
    }
    accept();
}

void TFLista::mueve(int cuanto)
{
    if (m_ds && m_ds->isActive())
        m_ds->moveBy(cuanto);
}

bool TFLista::eventFilter(QObject *o, QEvent *ev)
{
    if (o == Busca && ev->type() == QEvent::KeyPress) {
        auto *k = static_cast<QKeyEvent *>(ev);
        if (k->modifiers() & (Qt::ControlModifier | Qt::AltModifier))
            return QDialog::eventFilter(o, ev);
        switch (k->key()) {
        case Qt::Key_PageUp:
            mueve(-kPagina);
            return true;
        case Qt::Key_PageDown:
            mueve(kPagina);
            return true;
        case Qt::Key_Up:
            mueve(-1);
            return true;
        case Qt::Key_Down:
            mueve(1);
            return true;
        case Qt::Key_Home:
            if (m_ds && m_ds->isActive())
                m_ds->first();
            return true;
        case Qt::Key_End:
            if (m_ds && m_ds->isActive())
                m_ds->last();
            return true;
        default:
            break;
        }
    }
    return QDialog::eventFilter(o, ev);
}

void TFLista::done(int r)
{
    // The caller's table is left usable: no record filter, still on the chosen row.
    quitaFiltro();
    QDialog::done(r);
}

// --- TFListaCh -------------------------------------------------------------------------------

TFListaCh::TFListaCh(QWidget *parent)
    : TFLista(parent)
{
    setObjectName(QStringLiteral("FListaCh"));
    cxGrid = new MemGrid(this);
    cxGrid->setObjectName(QStringLiteral("cxGrid"));
    cxGrid->setItemDelegate(m_pintor);
    MemTableModel *m = cxGrid->memModel();
    const int activo = m->addColumn(QStringLiteral("Activo"), QStringLiteral("Activo"), 50);
    m->column(activo).checkBox = true;
    m->column(activo).editable = true;
    m->addColumn(QStringLiteral("Clave"), QStringLiteral("Clave"), 100);
    m->addColumn(QStringLiteral("Nombre"), QStringLiteral("Nombre"), 300);
    cxGrid->hide();
    static_cast<QVBoxLayout *>(layout())->insertWidget(1, cxGrid, 1);
    connect(cxGrid, &QAbstractItemView::doubleClicked, this, [this] {
        if (Aceptar->isEnabled())
            Aceptar->click();
    });

    PopupMenu1 = new QMenu(this);
    PopupMenu1->setObjectName(QStringLiteral("PopupMenu1"));
    SeleccionarTodo = PopupMenu1->addAction(QStringLiteral("Seleccionar todo"));
    SeleccionarTodo->setObjectName(QStringLiteral("SeleccionarTodo"));
    InvertirSeleccion = PopupMenu1->addAction(QStringLiteral("Invertir selección"));
    InvertirSeleccion->setObjectName(QStringLiteral("InvertirSeleccion"));
    BorrarSeleccion = PopupMenu1->addAction(QStringLiteral("Borrar selección"));
    BorrarSeleccion->setObjectName(QStringLiteral("BorrarSeleccion"));
    connect(SeleccionarTodo, &QAction::triggered, this, [this] { marcaTodos(1); });
    connect(InvertirSeleccion, &QAction::triggered, this, [this] { marcaTodos(-1); });
    connect(BorrarSeleccion, &QAction::triggered, this, [this] { marcaTodos(0); });
    cxGrid->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(cxGrid, &QWidget::customContextMenuRequested, this, [this](const QPoint &p) {
        PopupMenu1->popup(cxGrid->viewport()->mapToGlobal(p));
    });
}

int TFListaCh::preparaCh(MemTable &dataSet,
                         const QString &titulo,
                         const QString &condicion,
                         bool conCasillas,
                         int busqueda)
{
    if (!puedeMostrarse(*this))
        return 2;
    m_casillas = conCasillas;
    Lista->setTable(nullptr);
    cxGrid->setTable(nullptr);
    Lista->setVisible(!conCasillas);
    cxGrid->setVisible(conCasillas);
    m_rejilla = conCasillas ? static_cast<MemGrid *>(cxGrid) : Lista;
    // With the ticks the first spec only names the check column.
    iniciaColumnas(conCasillas ? 1 : 0, false);
    Condicion = condicion;
    adjunta(&dataSet);
    EnConsulta = false;
    terminaPreparacion(titulo, busqueda);
    return -1;
}

void TFListaCh::marcaTodos(int como)
{
    if (!m_ds || !m_ds->isActive() || m_ds->fieldCount() < 2)
        return;
    MemTable &t = *m_ds;
    t.checkBrowseMode();
    BloqueoControles bloqueo(t);
    const MemTable::Bookmark b = t.bookmark();
    for (t.first(); !t.eof(); t.next()) {
        t.edit();
        MemField f = t.field(1);
        f.setValue(como < 0 ? !f.asBoolean() : como == 1);
        t.post();
    }
    t.gotoBookmark(b);
}

} // namespace lar
