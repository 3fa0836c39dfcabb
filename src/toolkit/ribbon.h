#pragma once

#include <QFrame>
#include <QList>
#include <QToolButton>

class QAction;
class QStackedWidget;
class QTabBar;
class QHBoxLayout;
class QVBoxLayout;
class QGridLayout;

namespace lar {

class Ribbon;

// An entry of a ribbon group. Large entries show the text under the icon; small
// ones stack three to a column with the text beside the icon. Carries its own Tag
// besides the one of its action.
class RibbonBoton : public QToolButton
{
    Q_OBJECT
public:
    RibbonBoton(QAction *accion, bool grande, QWidget *parent = nullptr);
    bool esGrande() const { return m_grande; }
    // The action the entry runs; null for an entry with its own click handler.
    QAction *accion() const { return defaultAction(); }

private:
    bool m_grande;
};

// A captioned group of entries inside a tab.
class RibbonGrupo : public QFrame
{
    Q_OBJECT
public:
    RibbonGrupo(const QString &titulo, QWidget *parent = nullptr);
    QString titulo() const { return m_titulo; }
    // Adds an entry bound to an action (its text and icon come from the action).
    RibbonBoton *agregaBoton(const QString &nombre, QAction *accion, bool grande = true);
    // An entry without an action, with its own text; connect to its clicked signal.
    RibbonBoton *agregaBoton(const QString &nombre,
                             const QString &texto,
                             const QIcon &icono,
                             bool grande = true);
    QList<RibbonBoton *> botones() const;

private:
    RibbonBoton *coloca(RibbonBoton *b);
    QString m_titulo;
    QHBoxLayout *m_filas = nullptr;
    QGridLayout *m_chicos = nullptr;
    int m_numChicos = 0;
};

// One tab of the ribbon: its groups side by side.
class RibbonTab : public QWidget
{
    Q_OBJECT
public:
    RibbonTab(const QString &titulo, QWidget *parent = nullptr);
    QString titulo() const { return m_titulo; }
    RibbonGrupo *agregaGrupo(const QString &nombre, const QString &titulo);
    QList<RibbonGrupo *> grupos() const;

private:
    QString m_titulo;
    QHBoxLayout *m_layout;
};

// The command bar of the main window: tabs of captioned groups of entries. When
// collapsed only the tab captions show, and a tab's groups drop down while that
// tab is clicked, closing again after an entry runs.
class Ribbon : public QWidget
{
    Q_OBJECT
public:
    explicit Ribbon(QWidget *parent = nullptr);

    RibbonTab *agregaTab(const QString &nombre, const QString &titulo);
    // An entry at the right end of the tab row, in reach whatever the tab.
    RibbonBoton *agregaEsquina(const QString &nombre, QAction *accion);
    QList<RibbonTab *> tabs() const;
    QList<RibbonBoton *> esquinas() const { return m_esquinas; }
    // Where the caption of a tab is drawn, in global coordinates.
    QRect rectoTab(int indice) const;
    // From the keyboard: shows the tab's groups and puts the focus on its first
    // enabled entry.
    void entraTab(int indice);
    RibbonTab *tabActiva() const;
    void setTabActiva(RibbonTab *tab);

    void setColapsado(bool colapsado);
    bool colapsado() const { return m_colapsado; }
    // Shows the groups of a tab (drops them down when collapsed).
    void muestraTab(int indice);
    bool desplegado() const;

signals:
    void tabActivaCambio(int indice);

protected:
    bool eventFilter(QObject *obj, QEvent *ev) override;

private:
    void ajustaPanel();
    QTabBar *m_barra;
    QHBoxLayout *m_esquina;
    QFrame *m_panel;
    QStackedWidget *m_pila;
    QVBoxLayout *m_layout;
    QList<RibbonTab *> m_tabs;
    QList<RibbonBoton *> m_esquinas;
    bool m_colapsado = false;
};

} // namespace lar
