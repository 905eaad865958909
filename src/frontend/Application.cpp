#include "frontend/Application.h"

#include "frontend/Handlers.h"
#include "frontend/Startup.h"

Application::Application(Platform& platform_, std::string programFolder)
    : Program(platform_, std::move(programFolder)) {
    WireHandlers(*this);
    form.Resize = [this] { Form_Resize(*this); };
}
