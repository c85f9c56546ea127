// The preview pane: a draw against the platform's own calls for it, and what the pointer's tools add to one.
#include "bench/bench_dialog.h"
#include "bench/measure.h"
#include "core/settings_catalogue.h"
#include "platform/gdiplus_owners.h"
#include "resources/resource_ids.h"

namespace gdip = Gdiplus::DllExports;

namespace {

int g_loads = 0;

}  // namespace

// The linker sends every load of an image file here: that is how often a page is decoded to be shown.
extern "C" Gdiplus::GpStatus WINGDIPAPI __real_GdipLoadImageFromFile(const WCHAR* path, Gdiplus::GpImage** image);
extern "C" Gdiplus::GpStatus WINGDIPAPI __wrap_GdipLoadImageFromFile(const WCHAR* path, Gdiplus::GpImage** image) {
  ++g_loads;
  return __real_GdipLoadImageFromFile(path, image);
}

namespace bench {
namespace {

constexpr const char* kBareDraw = "load, measure, one draw, dispose";

// What the pane shows of the page.
struct View {
  double zoom = 0.0;
  int x = 0;
  int y = 0;
};

// The picture that DrawPreviewImage has to show, by nothing but the calls for it.
void BareDraw(const BenchDialog& d, const View& view) {
  const HWND pane = GetDlgItem(d.m_hDlg, IDC_PREVIEW_PANE);
  const HDC context = GetDC(pane);
  Gdiplus::GpGraphics* graphics = nullptr;
  Gdiplus::GpImage* image = nullptr;
  gdip::GdipCreateFromHDC(context, &graphics);
  gdip::GdipLoadImageFromFile(d.m_wstrPreviewFile, &image);
  Gdiplus::REAL dpi = 0;
  UINT size = 0;
  gdip::GdipGetImageHorizontalResolution(image, &dpi);
  gdip::GdipGetImageVerticalResolution(image, &dpi);
  gdip::GdipGetImageWidth(image, &size);
  gdip::GdipGetImageHeight(image, &size);
  gdip::GdipDrawImageRectRectI(graphics, image, 0, 0, d.m_rcPane.width(), d.m_rcPane.height(), view.x, view.y,
                               static_cast<INT>(d.m_rcPane.width() / view.zoom),
                               static_cast<INT>(d.m_rcPane.height() / view.zoom), Gdiplus::UnitPixel, nullptr, nullptr,
                               nullptr);
  gdip::GdipDisposeImage(image);
  gdip::GdipDeleteGraphics(graphics);
  ReleaseDC(pane, context);
}

// A copy, since the dialog rewrites its preview file.
void Load(BenchDialog& d, const Page& page, const std::wstring& folder) {
  const std::wstring copy = folder + L"\\preview.jpg";
  CopyFileW(page.file.c_str(), copy.c_str(), FALSE);
  d.UpdatePreviewImage(copy.c_str());
  simulator::HandleMessages(d.m_hDlg);
}

std::vector<double> DrawRatios(BenchDialog& d, PreviewDrawMode mode, double zoom, int rounds) {
  d.m_nScrollX = 300;
  d.m_nScrollY = 400;
  // The dialog's pending paint would be a second draw: what is drawn is shown between the measurements.
  return Ratios(Interleave(
      rounds, [&] { d.DrawPreviewImage(d.m_hDlg, 600, 800, mode, zoom); },
      [&] { BareDraw(d, {zoom, d.m_nScrollX, d.m_nScrollY}); }, [&] { simulator::HandleMessages(d.m_hDlg); }));
}

void Append(std::vector<double>& all, const std::vector<double>& more) {
  all.insert(all.end(), more.begin(), more.end());
}

void MeasureDraws(BenchDialog& d, std::span<const Page> pages, const std::wstring& folder) {
  static constexpr const char* kModes[] = {"zoom at point", "scroll x", "scroll y", "reset", "repaint", "pan", "zoom"};
  constexpr int kRounds = 5;
  Load(d, FindPage(pages, "A4 200 dpi, noise"), folder);
  std::vector<double> byZoom[settings::kZoomTable.size()];
  for (int mode = 1; mode <= 7; ++mode) {
    std::vector<double> byMode;
    for (std::size_t i = 0; i < settings::kZoomTable.size(); ++i) {
      const double zoom = preview::ScaleOfPercent(settings::kZoomTable[i].percent);
      const std::vector<double> ratios = DrawRatios(d, static_cast<PreviewDrawMode>(mode), zoom, kRounds);
      Append(byMode, ratios);
      Append(byZoom[i], ratios);
    }
    PrintFigure(std::string("draw, A4 200 dpi, noise: mode ") + kModes[mode - 1], kBareDraw, byMode, 1.05);
  }
  for (std::size_t i = 0; i < settings::kZoomTable.size(); ++i) {
    PrintFigure("draw, A4 200 dpi, noise: " + std::to_string(settings::kZoomTable[i].percent) + " %", kBareDraw,
                byZoom[i], 1.05);
  }
  for (const Page& page : pages) {
    Load(d, page, folder);
    const int rounds = page.dpi < 600 ? 15 : 9;
    PrintFigure("draw, " + page.name, kBareDraw,
                DrawRatios(d, PreviewDrawMode::DrawZoom, preview::kScaleAt100Percent, rounds), 1.05);
  }
}

LPARAM PaneAt(const BenchDialog& d, int x, int y) { return MAKELPARAM(d.m_rcPane.left + x, d.m_rcPane.top + y); }

// A step of the user's, forward and back in turn, and everything that it sets in motion, against one draw of the view
// that it leads to. The ratios of the time, and the numbers of decodes.
struct StepFigures {
  std::vector<double> ratios;
  std::vector<double> loads;
};
StepFigures MeasureStep(BenchDialog& d, const std::function<void(bool)>& step, const Action& besideTheDraw = {}) {
  constexpr int kRounds = 40;
  View views[2];
  StepFigures figures;
  for (int i = -2; i < kRounds; ++i) {
    const bool forward = i % 2 == 0;
    const auto ours = [&] {
      const int before = g_loads;
      step(forward);
      simulator::HandleMessages(d.m_hDlg);
      figures.loads.push_back(g_loads - before);
    };
    if (i < 0) {
      ours();
      views[forward] = {d.m_dZoom, d.m_nScrollX, d.m_nScrollY};
      continue;
    }
    const auto other = [&] {
      BareDraw(d, views[forward]);
      if (besideTheDraw) {
        besideTheDraw();
      }
      simulator::HandleMessages(d.m_hDlg);
    };
    Pair pair;
    for (const bool isOurs : {i / 2 % 2 == 0, i / 2 % 2 != 0}) {
      (isOurs ? pair.ours : pair.other) = Seconds(isOurs ? Action(ours) : Action(other));
    }
    figures.ratios.push_back(pair.ours / pair.other);
  }
  return figures;
}

void Print(const std::string& name, const StepFigures& figures) {
  PrintFigure(name, kBareDraw, figures.ratios, 1.1);
  PrintFigure(name + ": decodes", "one", figures.loads, 1.0);
}

void MeasureSteps(BenchDialog& d, const Page& page, const std::wstring& folder) {
  Load(d, page, folder);
  d.OnCommand(d.m_hDlg, IDC_TOOL_PAN, 0);
  SendMessageW(d.m_hDlg, WM_MOUSEMOVE, 0, PaneAt(d, 100, 100));
  SendMessageW(d.m_hDlg, WM_LBUTTONDOWN, 0, PaneAt(d, 100, 100));
  Print("pan move", MeasureStep(d, [&](bool forward) {
          SendMessageW(d.m_hDlg, WM_MOUSEMOVE, MK_LBUTTON, forward ? PaneAt(d, 95, 90) : PaneAt(d, 100, 100));
        }));
  SendMessageW(d.m_hDlg, WM_LBUTTONUP, 0, PaneAt(d, 100, 100));
  const HWND vertical = GetDlgItem(d.m_hDlg, IDC_VERTICAL_SCROLL);
  Print("scroll step", MeasureStep(d, [&](bool forward) {
          SendMessageW(d.m_hDlg, WM_VSCROLL, forward ? SB_LINEDOWN : SB_LINEUP, reinterpret_cast<LPARAM>(vertical));
        }));
  d.OnCommand(d.m_hDlg, IDC_TOOL_ZOOM, 0);
  SendMessageW(d.m_hDlg, WM_MOUSEMOVE, 0, PaneAt(d, 100, 100));
  const auto zoomStep = [&](bool forward) {
    d.m_bZoomIn = forward ? 1 : 0;
    SendMessageW(d.m_hDlg, WM_LBUTTONDOWN, 0, PaneAt(d, 100, 100));
  };
  Print("zoom step", MeasureStep(d, zoomStep));
  // A zoom step changes both bars, which paint themselves.
  const auto paintBars = [&] {
    for (const HWND bar : {vertical, GetDlgItem(d.m_hDlg, IDC_HORIZONTAL_SCROLL)}) {
      RedrawWindow(bar, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    }
  };
  PrintFigure("zoom step", "such a draw, and both bars painted", MeasureStep(d, zoomStep, paintBars).ratios, kNoTarget);
}

// Of one movement with everything that follows it on the screen, and of setting the text that tells the frame's size
// alone.
Pair DragSeconds(BenchDialog& d, const Page& page, const std::wstring& folder) {
  constexpr int kMoves = 200;
  Load(d, page, folder);
  d.OnCommand(d.m_hDlg, IDC_TOOL_SELECT, 0);
  SendMessageW(d.m_hDlg, WM_MOUSEMOVE, 0, PaneAt(d, 5, 5));
  SendMessageW(d.m_hDlg, WM_LBUTTONDOWN, 0, PaneAt(d, 5, 5));
  const HWND bar = GetDlgItem(d.m_hDlg, IDC_STATUS_BAR);
  Pair sum;
  for (int i = 0; i < kMoves; ++i) {
    const auto ours = [&] {
      SendMessageW(d.m_hDlg, WM_MOUSEMOVE, MK_LBUTTON, PaneAt(d, 20 + i % 50, 30 + i % 40));
      simulator::HandleMessages(d.m_hDlg);
    };
    const std::wstring text = L" 20mm x " + std::to_wstring(i) + L"mm";
    const auto other = [&] {
      SendMessageW(bar, SB_SETTEXTW, 2, reinterpret_cast<LPARAM>(text.c_str()));
      simulator::HandleMessages(d.m_hDlg);
    };
    const Pair pair = Interleave(1, ours, other)[0];
    sum.ours += pair.ours / kMoves;
    sum.other += pair.other / kMoves;
  }
  SendMessageW(d.m_hDlg, WM_LBUTTONUP, 0, PaneAt(d, 50, 50));
  return sum;
}

void MeasureDrag(BenchDialog& d, std::span<const Page> pages, const std::wstring& folder) {
  constexpr int kRounds = 7;
  constexpr double kOneMillisecond = 0.001;
  const int loadsBefore = g_loads;
  std::vector<double> absolute;
  std::vector<double> withoutText;
  std::vector<double> againstText;
  std::vector<double> againstSmall;
  for (int i = 0; i < kRounds; ++i) {
    const Pair small = DragSeconds(d, FindPage(pages, "A4 75 dpi, noise"), folder);
    const Pair large = DragSeconds(d, FindPage(pages, "A4 300 dpi, noise"), folder);
    absolute.push_back(large.ours / kOneMillisecond);
    withoutText.push_back((large.ours - large.other) / kOneMillisecond);
    againstText.push_back(large.ours / large.other);
    againstSmall.push_back(large.ours / small.ours);
  }
  PrintFigure("move dragging the frame, A4 300 dpi", "one millisecond", absolute, 1.0);
  PrintFigure("  of it beside setting the readout's text", "one millisecond", withoutText, kNoTarget);
  PrintFigure("move dragging the frame, A4 300 dpi", "the readout's text set alone", againstText, kNoTarget);
  PrintFigure("move dragging the frame, A4 300 dpi", "the same, A4 75 dpi", againstSmall, 1.2);
  PrintFigure("showing a new preview: decodes", "one", {(g_loads - loadsBefore) / (2.0 * kRounds)}, kNoTarget);
}

}  // namespace

void MeasurePreview(std::span<const Page> pages, const std::wstring& folder) {
  DEVICEDIALOGDATA2 request = {};
  BenchDialog dialog;
  dialog.Run(request, [&](BenchDialog& d) {
    SetCursorPos(0, 0);
    MeasureDraws(d, pages, folder);
    MeasureSteps(d, FindPage(pages, "A4 200 dpi, noise"), folder);
    MeasureDrag(d, pages, folder);
  });
}

}  // namespace bench
