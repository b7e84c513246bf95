#include <zevrin/CameraSystem.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>

#include <cstdio>
#include <vector>

#include "Check.h"

int main() {
    Zevrin::CameraSystem system;
    std::vector<Zevrin::CameraListing> cameras;
    Check(system.List(&cameras));
    if (cameras.empty()) {
        return std::puts("no camera is there"), 1;
    }
    boost::shared_ptr<Zevrin::IidcCamera> camera;
    Check(system.Connect(cameras.front().serialNumber, &camera));
    Zevrin::Property shutter;
    shutter.type = Zevrin::SHUTTER;
    shutter.present = shutter.absControl = shutter.onOff = true;
    shutter.absValue = 0.01f;  // seconds
    Check(camera->SetProperty(&shutter));
    Check(camera->StartCapture(nullptr, nullptr));
    for (int count = 0; count < 10; ++count) {
        Zevrin::Image image;  // gives its buffer back at the end of each turn
        Check(camera->RetrieveBuffer(&image));
        std::printf("frame %llu: first pixel %u\n", image.GetFrameId(), image.GetData()[0]);
    }
    Check(camera->StopCapture());
}
