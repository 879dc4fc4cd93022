#include <QWidget>  // only the front ends use Qt
