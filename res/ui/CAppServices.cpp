#include "CAppServices.h"

namespace {

CAppServices* g_pServices = nullptr;

} // namespace

CAppServices::CAppServices()
{
    g_pServices = this;
}

CAppServices::~CAppServices()
{
    if (g_pServices == this)
        g_pServices = nullptr;
}

CAppServices* CAppServices::Get()
{
    return g_pServices;
}
