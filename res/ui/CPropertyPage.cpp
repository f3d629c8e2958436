#include "CPropertyPage.h"

CPropertyPage::CPropertyPage(const QString& caption, QWidget* parent)
    : QWidget(parent)
    , m_strCaption(caption)
{
}
