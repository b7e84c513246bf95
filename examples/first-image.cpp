#include <zevrin/CameraSystem.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>
#include <zevrin/ImageFile.h>
#include <zevrin/Simulation.h>

#include <cstdio>
#include <cstdlib>

void Check(const Zevrin::Error& error) {
    if (error != Zevrin::ERR_OK) {
        std::fprintf(stderr, "%s\n", error.GetDescription());
        std::exit(EXIT_FAILURE);
    }
}

int main() {
    boost::shared_ptr<Zevrin::Simulation> simulation;  // leave these two lines out and plug in a camera
    Check(Zevrin::Simulation::FromCount(1, &simulation));
    Zevrin::CameraSystem system;
    boost::shared_ptr<Zevrin::IidcCamera> camera;
    Check(system.Connect(1001, &camera));
    Check(camera->StartCapture(nullptr, nullptr));
    Zevrin::Image image;
    Check(camera->RetrieveBuffer(&image));
    Check(Zevrin::SaveImage(image, "first.png"));
    std::printf("first.png: %u x %u pixels\n", image.GetWidth(), image.GetHeight());
}
