#pragma once

#include "disenoseguridad.h"

#include <QDialog>

#include <memory>

class QAction;
class QLineEdit;
class QMenu;
class QPushButton;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace lar {

class MemGrid;
class MemTable;
class Sesion;

// The name of a right, asked for when one is added or renamed.
class TfCheckButton : public QDialog
{
    Q_OBJECT

public:
    explicit TfCheckButton(QWidget *parent = nullptr);

    QLineEdit *vValor;
    QPushButton *BitBtn1;
    QPushButton *BitBtn2;

private:
    void aceptar();
};

// "Diseño de la seguridad": the tree of menus, the modules under a menu and the
// rights of a module, the catalogue behind the permission editor.
class Tfsis_diseno : public QDialog
{
    Q_OBJECT

public:
    explicit Tfsis_diseno(Sesion &sesion, QWidget *parent = nullptr);
    ~Tfsis_diseno() override;

    static constexpr int kTag = 1;

    bool Nuevo = false;
    bool Editando = false;
    bool PrimeraVez = true;
    int DependeNuevo = 0;
    quint32 AccesoForma = 0;

    QTreeWidget *Lista;
    QLineEdit *Edit1;
    QLineEdit *Edit2;
    QToolButton *bNew;
    QToolButton *bEdit;
    QToolButton *bDel;
    QToolButton *bSave;
    QToolButton *bCancel;
    QToolButton *bAddServ;
    QToolButton *bDelServ;
    QToolButton *BitBtn1;
    QToolButton *BitBtn2;
    QToolButton *BitBtn3;
    QMenu *pmAdd;
    QAction *mAdd;
    QAction *mAddInd;
    // The modules of the chosen menu and the rights of the chosen module.
    std::unique_ptr<MemTable> btnQuery;
    std::unique_ptr<MemTable> qTags;
    // The modules that can be added to a menu.
    std::unique_ptr<MemTable> mTags;
    MemGrid *gBotones;
    MemGrid *gTags;

    void bNewClick();
    void bEditClick();
    void bSaveClick();
    void bCancelClick();
    void bDelClick();
    void bAddServClick();
    void bDelServClick();
    void BitBtn1Click();
    void BitBtn2Click();
    void BitBtn3Click();

protected:
    void showEvent(QShowEvent *ev) override;

private:
    void FormActivate();
    void cargaArbol();
    void ListaChange();
    void poneBotones();
    void abreBotones();
    void abreTags();
    void iniciaNuevo(int depende);
    bool borra(QTreeWidgetItem *nodo);
    int tagActual() const;
    void aviso(const QString &texto);

    Sesion &m_sesion;
    DisenoSeguridad m_diseno;
};

} // namespace lar
