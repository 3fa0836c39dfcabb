#pragma once

#include "datosseguridad.h"

#include <QDialog>
#include <QList>
#include <QStringList>

#include <memory>

class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QTreeWidget;
class QTreeWidgetItem;

namespace lar {

class MemTable;
class Sesion;
class TSafeCheckGroup;

// "Módulo de Seguridad": the rights of one Microsip user at a time, a group of
// check boxes per module of the menu chosen in the tree.
class TfModSeguridad : public QDialog
{
    Q_OBJECT

public:
    explicit TfModSeguridad(Sesion &sesion, QWidget *parent = nullptr);
    ~TfModSeguridad() override;

    static constexpr int kTag = 2;
    static constexpr int kGrupos = 36;

    // Form state.
    ValoresPermisos Valores{};
    ValoresPermisos Respaldo{};
    QList<int> Cambiados; // sorted, no duplicates
    QList<ModuloSeguridad> Modulos;
    QList<TSafeCheckGroup *> Grupos;
    QString UsuarioEditado;
    quint32 AccesoForma = 0;
    bool Conectado = false;
    bool UsuariosCargados = false;
    bool Cargando = false;
    bool PuedeEditar = false;

    // Controls.
    QLineEdit *vPers;
    QPushButton *bPers;
    QPushButton *bEditUsr;
    QPushButton *bSaveUsr;
    QPushButton *bCancelUsr;
    QTreeWidget *Tree;
    QLabel *Title;
    QScrollArea *ScrollBox;

    // The groups in use, in the order of the menu's modules.
    QList<TSafeCheckGroup *> gruposVisibles() const;

    void bPersClick();
    void bEditUsrClick();
    void bSaveUsrClick();
    void bCancelUsrClick();
    // Takes a user as if chosen in the picker.
    void eligeUsuario(const QString &nombre);

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;

private:
    void FormShow();
    void construyeArbol();
    void TreeChanging();
    void TreeChange();
    void cargaPermisos();
    void asignaValores();
    void leeGrupos();
    void habilitaGrupos(bool si);
    void botonesFueraDeEdicion();
    void marcaCambiado(int tag);
    void ajustaAncho();

    Sesion &m_sesion;
    DatosSeguridad m_datos;
    std::unique_ptr<MemTable> mUsuarios;
    QWidget *m_lienzo;
    bool m_mostrada = false;
};

} // namespace lar
