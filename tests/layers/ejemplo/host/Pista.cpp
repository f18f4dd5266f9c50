// Planted: a tip that would show a page that somebody has typed.
void Muestra(QWidget *control, const QString &nombre)
{
    control->setToolTip(nombre);
}
