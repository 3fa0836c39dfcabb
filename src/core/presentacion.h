#pragma once

#include <QDialog>

class QLabel;
class QTimer;

namespace lar {

// The splash at start (borderless, closes itself after a second) and, in about
// mode, the about box (dialog border, closes on a click or after 45 seconds).
class TfPresentacion : public QDialog
{
    Q_OBJECT
public:
    TfPresentacion(const QString &nombrePrograma, bool acercaDe, QWidget *parent = nullptr);

    QLabel *lbVersion;
    QTimer *tClose;

protected:
    void showEvent(QShowEvent *ev) override;
    void mousePressEvent(QMouseEvent *ev) override;
    void paintEvent(QPaintEvent *ev) override;

private:
    bool m_acercaDe;
};

} // namespace lar
