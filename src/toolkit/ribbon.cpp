#include "ribbon.h"

#include "accesible.h"
#include "teclado.h"

#include <QAccessibleWidget>
#include <QAction>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>

namespace lar {

namespace {

// The ribbon as assistive technology sees it, whether collapsed or not: a list of
// page tabs, each holding its groups, each holding its entries, then the entries
// beside the tabs. The widgets alone would show the tab bar and, collapsed,
// nothing of the groups (they live in a hidden popup).
class AccesibleRibbon : public QAccessibleWidget
{
public:
    explicit AccesibleRibbon(Ribbon *r)
        : QAccessibleWidget(r, QAccessible::PageTabList)
    {}
    Ribbon *ribbon() const { return static_cast<Ribbon *>(object()); }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name && ribbon()->accessibleName().isEmpty())
            return QStringLiteral("Cinta de opciones");
        return QAccessibleWidget::text(t);
    }
    QList<QWidget *> hijos() const
    {
        QList<QWidget *> l;
        for (RibbonTab *t : ribbon()->tabs())
            l << t;
        for (RibbonBoton *b : ribbon()->esquinas())
            l << b;
        return l;
    }
    int childCount() const override { return int(hijos().size()); }
    QAccessibleInterface *child(int i) const override
    {
        return QAccessible::queryAccessibleInterface(hijos().value(i));
    }
    int indexOfChild(const QAccessibleInterface *c) const override
    {
        return c ? int(hijos().indexOf(qobject_cast<QWidget *>(c->object()))) : -1;
    }
};

class AccesibleRibbonTab : public QAccessibleWidget
{
public:
    explicit AccesibleRibbonTab(RibbonTab *t)
        : QAccessibleWidget(t, QAccessible::PageTab)
    {}
    RibbonTab *tab() const { return static_cast<RibbonTab *>(object()); }
    Ribbon *ribbon() const
    {
        QObject *o = tab()->parent();
        while (o && !qobject_cast<Ribbon *>(o))
            o = o->parent();
        return static_cast<Ribbon *>(o);
    }
    int indice() const { return ribbon() ? int(ribbon()->tabs().indexOf(tab())) : -1; }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(ribbon());
    }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name)
            return QString(tab()->titulo()).remove(u'&');
        return QAccessibleWidget::text(t);
    }
    QRect rect() const override { return ribbon() ? ribbon()->rectoTab(indice()) : QRect(); }
    QAccessible::State state() const override
    {
        QAccessible::State st = QAccessibleWidget::state();
        // The caption is on screen even while the groups are folded away.
        st.invisible = !ribbon() || !ribbon()->isVisible();
        st.offscreen = st.invisible;
        st.selectable = true;
        st.selected = ribbon() && ribbon()->tabActiva() == tab();
        return st;
    }
    int childCount() const override { return int(tab()->grupos().size()); }
    QAccessibleInterface *child(int i) const override
    {
        return QAccessible::queryAccessibleInterface(tab()->grupos().value(i));
    }
    int indexOfChild(const QAccessibleInterface *c) const override
    {
        return c ? int(tab()->grupos().indexOf(qobject_cast<RibbonGrupo *>(c->object()))) : -1;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &accion) override
    {
        if (accion == pressAction() && ribbon())
            ribbon()->muestraTab(indice());
    }
};

class AccesibleRibbonGrupo : public QAccessibleWidget
{
public:
    explicit AccesibleRibbonGrupo(RibbonGrupo *g)
        : QAccessibleWidget(g, QAccessible::Grouping)
    {}
    RibbonGrupo *grupo() const { return static_cast<RibbonGrupo *>(object()); }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name)
            return grupo()->titulo();
        return QAccessibleWidget::text(t);
    }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(grupo()->parentWidget());
    }
    // The entries the design shows; one hidden for good isn't one of them.
    QList<RibbonBoton *> entradas() const
    {
        QList<RibbonBoton *> l;
        for (RibbonBoton *b : grupo()->botones()) {
            if (b->isVisibleTo(grupo()))
                l << b;
        }
        return l;
    }
    int childCount() const override { return int(entradas().size()); }
    QAccessibleInterface *child(int i) const override
    {
        return QAccessible::queryAccessibleInterface(entradas().value(i));
    }
    int indexOfChild(const QAccessibleInterface *c) const override
    {
        return c ? int(entradas().indexOf(qobject_cast<RibbonBoton *>(c->object()))) : -1;
    }
};

QAccessibleInterface *fabricaAccesible(const QString &, QObject *o)
{
    if (auto *r = qobject_cast<Ribbon *>(o))
        return new AccesibleRibbon(r);
    if (auto *t = qobject_cast<RibbonTab *>(o))
        return new AccesibleRibbonTab(t);
    if (auto *g = qobject_cast<RibbonGrupo *>(o))
        return new AccesibleRibbonGrupo(g);
    return nullptr;
}

} // namespace

RibbonBoton::RibbonBoton(QAction *accion, bool grande, QWidget *parent)
    : QToolButton(parent)
    , m_grande(grande)
{
    if (accion)
        setDefaultAction(accion);
    setAutoRaise(true);
    setToolButtonStyle(grande ? Qt::ToolButtonTextUnderIcon : Qt::ToolButtonTextBesideIcon);
    setIconSize(grande ? QSize(32, 32) : QSize(16, 16));
    EnterPulsa(this);
    if (grande)
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    else
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

RibbonGrupo::RibbonGrupo(const QString &titulo, QWidget *parent)
    : QFrame(parent)
    , m_titulo(titulo)
{
    RenuevaAccesible<AccesibleRibbonGrupo>(this, fabricaAccesible);
    setFrameShape(QFrame::StyledPanel);
    auto *v = new QVBoxLayout(this);
    v->setContentsMargins(4, 4, 4, 2);
    v->setSpacing(2);
    m_filas = new QHBoxLayout;
    m_filas->setSpacing(2);
    v->addLayout(m_filas, 1);
    auto *pie = new QLabel(titulo, this);
    pie->setAlignment(Qt::AlignCenter);
    pie->setObjectName(QStringLiteral("tituloGrupo"));
    pie->setStyleSheet(QStringLiteral("color: #555;"));
    v->addWidget(pie);
}

RibbonBoton *RibbonGrupo::agregaBoton(const QString &nombre, QAction *accion, bool grande)
{
    auto *b = new RibbonBoton(accion, grande, this);
    b->setObjectName(nombre);
    return coloca(b);
}

RibbonBoton *RibbonGrupo::agregaBoton(const QString &nombre,
                                      const QString &texto,
                                      const QIcon &icono,
                                      bool grande)
{
    auto *b = new RibbonBoton(nullptr, grande, this);
    b->setObjectName(nombre);
    b->setText(texto);
    b->setIcon(icono);
    return coloca(b);
}

RibbonBoton *RibbonGrupo::coloca(RibbonBoton *b)
{
    if (b->esGrande()) {
        m_filas->addWidget(b);
        m_chicos = nullptr;
        return b;
    }
    // Small entries fill columns of three, as a ribbon lays them out.
    if (!m_chicos || m_numChicos % 3 == 0) {
        if (!m_chicos) {
            m_chicos = new QGridLayout;
            m_chicos->setSpacing(0);
            m_filas->addLayout(m_chicos);
            m_numChicos = 0;
        }
    }
    m_chicos->addWidget(b, m_numChicos % 3, m_numChicos / 3);
    ++m_numChicos;
    return b;
}

QList<RibbonBoton *> RibbonGrupo::botones() const
{
    return findChildren<RibbonBoton *>(QString(), Qt::FindDirectChildrenOnly);
}

RibbonTab::RibbonTab(const QString &titulo, QWidget *parent)
    : QWidget(parent)
    , m_titulo(titulo)
    , m_layout(new QHBoxLayout(this))
{
    RenuevaAccesible<AccesibleRibbonTab>(this, fabricaAccesible);
    m_layout->setContentsMargins(2, 2, 2, 2);
    m_layout->setSpacing(4);
    m_layout->addStretch(1);
}

RibbonGrupo *RibbonTab::agregaGrupo(const QString &nombre, const QString &titulo)
{
    auto *g = new RibbonGrupo(titulo, this);
    g->setObjectName(nombre);
    m_layout->insertWidget(m_layout->count() - 1, g);
    return g;
}

QList<RibbonGrupo *> RibbonTab::grupos() const
{
    return findChildren<RibbonGrupo *>(QString(), Qt::FindDirectChildrenOnly);
}

Ribbon::Ribbon(QWidget *parent)
    : QWidget(parent)
    , m_barra(new QTabBar(this))
    , m_esquina(new QHBoxLayout)
    , m_panel(new QFrame(this))
    , m_pila(new QStackedWidget(m_panel))
    , m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_barra->setDrawBase(true);
    m_barra->setExpanding(false);
    m_barra->setObjectName(QStringLiteral("barraTabs"));
    m_barra->setAccessibleName(QStringLiteral("Pestañas"));
    m_barra->installEventFilter(this);
    RenuevaAccesible<AccesibleRibbon>(this, fabricaAccesible);
    auto *fila = new QHBoxLayout;
    fila->setContentsMargins(0, 0, 0, 0);
    fila->addWidget(m_barra);
    fila->addStretch(1);
    m_esquina->setContentsMargins(0, 0, 4, 0);
    fila->addLayout(m_esquina);
    m_layout->addLayout(fila);
    m_panel->setObjectName(QStringLiteral("panelGrupos"));
    m_panel->setFrameShape(QFrame::StyledPanel);
    auto *pl = new QVBoxLayout(m_panel);
    pl->setContentsMargins(0, 0, 0, 0);
    pl->addWidget(m_pila);
    m_panel->setFixedHeight(96);
    m_layout->addWidget(m_panel);
    m_panel->installEventFilter(this);

    connect(m_barra, &QTabBar::currentChanged, this, [this](int i) {
        m_pila->setCurrentIndex(i);
        emit tabActivaCambio(i);
    });
    connect(m_barra, &QTabBar::tabBarClicked, this, [this](int i) {
        if (i >= 0)
            muestraTab(i);
    });
    connect(m_barra, &QTabBar::tabBarDoubleClicked, this, [this](int i) {
        if (i >= 0)
            setColapsado(!m_colapsado);
    });
}

RibbonTab *Ribbon::agregaTab(const QString &nombre, const QString &titulo)
{
    auto *t = new RibbonTab(titulo, m_pila);
    t->setObjectName(nombre);
    m_pila->addWidget(t);
    m_barra->addTab(titulo);
    m_tabs.append(t);
    return t;
}

RibbonBoton *Ribbon::agregaEsquina(const QString &nombre, QAction *accion)
{
    auto *b = new RibbonBoton(accion, false, this);
    b->setObjectName(nombre);
    b->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_esquina->addWidget(b);
    m_esquinas.append(b);
    return b;
}

QRect Ribbon::rectoTab(int indice) const
{
    const QRect r = m_barra->tabRect(indice);
    return r.isValid() ? QRect(m_barra->mapToGlobal(r.topLeft()), r.size()) : QRect();
}

void Ribbon::entraTab(int indice)
{
    muestraTab(indice);
    RibbonTab *t = m_tabs.value(indice);
    if (!t)
        return;
    for (RibbonGrupo *g : t->grupos()) {
        for (RibbonBoton *b : g->botones()) {
            if (b->isEnabled() && b->isVisibleTo(t)) {
                if (m_colapsado)
                    m_panel->activateWindow();
                EnfocaConTeclado(b);
                return;
            }
        }
    }
}

QList<RibbonTab *> Ribbon::tabs() const
{
    return m_tabs;
}

RibbonTab *Ribbon::tabActiva() const
{
    return m_tabs.value(m_barra->currentIndex());
}

void Ribbon::setTabActiva(RibbonTab *tab)
{
    const int i = int(m_tabs.indexOf(tab));
    if (i >= 0)
        m_barra->setCurrentIndex(i);
}

void Ribbon::setColapsado(bool colapsado)
{
    if (m_colapsado == colapsado)
        return;
    m_colapsado = colapsado;
    if (colapsado) {
        m_layout->removeWidget(m_panel);
        m_panel->setWindowFlags(Qt::Popup);
        m_panel->hide();
    } else {
        m_panel->hide();
        m_panel->setWindowFlags(Qt::Widget);
        m_layout->addWidget(m_panel);
        m_panel->show();
    }
}

void Ribbon::muestraTab(int indice)
{
    m_barra->setCurrentIndex(indice);
    if (!m_colapsado)
        return;
    ajustaPanel();
    m_panel->show();
    m_panel->raise();
}

bool Ribbon::desplegado() const
{
    return m_panel->isVisible();
}

void Ribbon::ajustaPanel()
{
    const QPoint origen = m_barra->mapToGlobal(QPoint(0, m_barra->height()));
    m_panel->setGeometry(QRect(origen, QSize(qMax(width(), 200), m_panel->height())));
}

bool Ribbon::eventFilter(QObject *obj, QEvent *ev)
{
    // On the tab bar, Down, Enter or Space go into the tab's entries; Left and
    // Right keep moving between tabs.
    if (obj == m_barra && ev->type() == QEvent::KeyPress) {
        const int k = static_cast<QKeyEvent *>(ev)->key();
        if (k == Qt::Key_Down || k == Qt::Key_Return || k == Qt::Key_Enter || k == Qt::Key_Space) {
            entraTab(m_barra->currentIndex());
            return true;
        }
    }
    // A dropped-down tab folds up again as soon as one of its entries is pressed.
    if (obj == m_panel && ev->type() == QEvent::Show && m_colapsado) {
        const QList<RibbonBoton *> botones = m_panel->findChildren<RibbonBoton *>();
        for (RibbonBoton *b : botones) {
            if (!b->property("_ribbonCierra").toBool()) {
                b->setProperty("_ribbonCierra", true);
                connect(b, &QAbstractButton::released, this, [this] {
                    if (m_colapsado)
                        m_panel->hide();
                });
            }
        }
    }
    return QWidget::eventFilter(obj, ev);
}

} // namespace lar
