#include "iconos.h"

#include <QFile>
#include <QImage>
#include <QPixmap>

static void iniciaRecursoIconos()
{
    Q_INIT_RESOURCE(lar_iconos);
}

namespace lar {

namespace {

// Grey, lighter and half transparent: a disabled entry must not read as enabled
// on any style, and Fusion's own disabled icons keep most of the colour.
QPixmap apagado(const QPixmap &original)
{
    QImage img = original.toImage().convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < img.height(); ++y) {
        auto *linea = reinterpret_cast<QRgb *>(img.scanLine(y));
        for (int x = 0; x < img.width(); ++x) {
            const QRgb p = linea[x];
            const int gris = 128 + qGray(p) / 2;
            linea[x] = qRgba(gris, gris, gris, qAlpha(p) * 45 / 100);
        }
    }
    return QPixmap::fromImage(img);
}

} // namespace

QIcon Icono(const QString &nombre)
{
    static const bool iniciado = (iniciaRecursoIconos(), true);
    Q_UNUSED(iniciado);
    QIcon icono;
    for (const int lado : {16, 32}) {
        const QString ruta = QStringLiteral(":/iconos/%1/%2.png").arg(lado).arg(nombre);
        if (!QFile::exists(ruta))
            continue;
        const QPixmap pm(ruta);
        icono.addPixmap(pm, QIcon::Normal);
        icono.addPixmap(apagado(pm), QIcon::Disabled);
    }
    return icono;
}

} // namespace lar
