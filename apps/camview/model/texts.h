// Everything that the window says, in one table.
#pragma once

#include <string>
#include <string_view>

namespace camview {

// name, text. "&" marks the key that leads there; {} stands for what is filled in.
#define CAMVIEW_TEXTS(X)                                                                  \
    X(Title, L"Ocellus camview")                                                          \
    X(TitleWithCamera, L"{} - Ocellus camview")                                           \
    X(Pages, L"Pages")                                                                    \
    X(TabPicture, L"Picture")                                                             \
    X(TabControls, L"Controls")                                                           \
    X(TabCamera, L"Camera")                                                               \
    X(TabLog, L"Log")                                                                     \
    X(TabKit, L"Kit")                                                                     \
    X(Preview, L"Live picture")                                                           \
    X(Camera, L"&Camera")                                                                 \
    X(Imager, L"Imager")                                                                  \
    X(Resolution, L"&Resolution")                                                         \
    X(Format, L"&Format")                                                                 \
    X(FormatBmp, L"BMP")                                                                  \
    X(FormatJpeg, L"JPEG")                                                                \
    X(FormatPng, L"PNG")                                                                  \
    X(FormatTiff, L"TIFF, black and white")                                               \
    X(Quality, L"&Quality")                                                               \
    X(Threshold, L"&Threshold")                                                           \
    X(QualityLevel0, L"Level 1")                                                          \
    X(QualityLevel1, L"Level 2")                                                          \
    X(QualityLevel2, L"Level 3")                                                          \
    X(Threshold0, L"3 % darker is black")                                                 \
    X(Threshold1, L"10 % darker is black")                                                \
    X(Threshold2, L"20 % darker is black")                                                \
    X(NoChoice, L"none")                                                                  \
    X(Folder, L"F&older")                                                                 \
    X(Browse, L"Browse...")                                                               \
    X(BrowseFolder, L"Choose the folder for pictures")                                    \
    X(Pattern, L"&Name")                                                                  \
    X(NextName, L"Next: {}")                                                              \
    X(BadPattern, L"No file can have this name")                                          \
    X(Stamp, L"&Stamp text")                                                              \
    X(Position, L"&Position")                                                             \
    X(TopLeft, L"top left")                                                               \
    X(TopCentre, L"top centre")                                                           \
    X(TopRight, L"top right")                                                             \
    X(MiddleLeft, L"middle left")                                                         \
    X(Middle, L"middle")                                                                  \
    X(MiddleRight, L"middle right")                                                       \
    X(BottomLeft, L"bottom left")                                                         \
    X(BottomCentre, L"bottom centre")                                                     \
    X(BottomRight, L"bottom right")                                                       \
    X(TextColor, L"Text co&lour")                                                         \
    X(Outline, L"Outline")                                                                \
    X(Background, L"Background")                                                          \
    X(White, L"white")                                                                    \
    X(Black, L"black")                                                                    \
    X(Grey, L"grey")                                                                      \
    X(Silver, L"silver")                                                                  \
    X(Red, L"red")                                                                        \
    X(Magenta, L"magenta")                                                                \
    X(Orange, L"orange")                                                                  \
    X(Yellow, L"yellow")                                                                  \
    X(Brown, L"brown")                                                                    \
    X(Green, L"green")                                                                    \
    X(Blue, L"blue")                                                                      \
    X(Cyan, L"cyan")                                                                      \
    X(Violet, L"violet")                                                                  \
    X(Inverse, L"inverse")                                                                \
    X(Font, L"Font")                                                                      \
    X(FontSize, L"Font size in pixels")                                                   \
    X(Bold, L"&Bold")                                                                     \
    X(Example, L"Example")                                                                \
    X(TakePicture, L"Take picture (space bar)")                                           \
    X(Burst, L"B&urst of")                                                                \
    X(BurstCount, L"Pictures in a burst")                                                 \
    X(StartInterval, L"&Every")                                                           \
    X(StopInterval, L"Stop (&E)")                                                         \
    X(IntervalSeconds, L"Seconds between pictures")                                       \
    X(Second, L"second")                                                                  \
    X(Seconds, L"seconds")                                                                \
    X(Picture, L"picture")                                                                \
    X(Pictures, L"pictures")                                                              \
    X(Taken, L"Pictures that were taken")                                                 \
    X(OpenFile, L"Open file")                                                             \
    X(OpenFolder, L"Open folder")                                                         \
    X(NoPictures, L"Pictures appear here")                                                \
    X(FitPicture, L"Fit")                                                                 \
    X(OriginalSize, L"1:1")                                                               \
    X(NoProperties, L"This camera has nothing to set.")                                   \
    X(NoCameraYet, L"No camera is open.")                                                 \
    X(Auto, L"Auto")                                                                      \
    X(Default, L"Default")                                                                \
    X(On, L"On")                                                                          \
    X(NameOfNumber, L"{}: number")                                                        \
    X(NameOfOn, L"{}: on")                                                                \
    X(NameOfAuto, L"{}: automatic")                                                       \
    X(NameOfDefault, L"{}: default")                                                      \
    X(Brightness, L"Brightness")                                                          \
    X(Contrast, L"Contrast")                                                              \
    X(Hue, L"Hue")                                                                        \
    X(Saturation, L"Saturation")                                                          \
    X(Sharpness, L"Sharpness")                                                            \
    X(Gamma, L"Gamma")                                                                    \
    X(ColorEnable, L"Color enable")                                                       \
    X(WhiteBalance, L"White balance")                                                     \
    X(BacklightCompensation, L"Backlight compensation")                                   \
    X(Pan, L"Pan")                                                                        \
    X(Tilt, L"Tilt")                                                                      \
    X(Roll, L"Roll")                                                                      \
    X(Zoom, L"Zoom")                                                                      \
    X(Exposure, L"Exposure")                                                              \
    X(Iris, L"Iris")                                                                      \
    X(Focus, L"Focus")                                                                    \
    X(Flash, L"Flash")                                                                    \
    X(FocusStep, L"Focus step")                                                           \
    X(FocusMaximum, L"Focus maximum")                                                     \
    X(FocusMinimum, L"Focus minimum")                                                     \
    X(FocusFixed, L"Focus fixed")                                                         \
    X(PropertyNumber, L"Property {}")                                                     \
    X(ShowUnnamedOne, L"Show the property without a name")                                \
    X(ShowUnnamed, L"Show the {} properties without a name")                              \
    X(ResetAll, L"Reset &all")                                                            \
    X(SaveSettings, L"&Save...")                                                          \
    X(LoadSettings, L"&Load...")                                                          \
    X(SettingsFilter, L"Settings (*.ini)")                                                \
    X(AllFiles, L"All files")                                                             \
    X(Property, L"Property")                                                              \
    X(Value, L"Value")                                                                    \
    X(CameraFacts, L"Facts about the camera")                                             \
    X(ListFormats, L"What it can &send")                                                  \
    X(FactName, L"Name")                                                                  \
    X(FactIdentity, L"Identity")                                                          \
    X(FactKind, L"Kind")                                                                  \
    X(FactNumber, L"Camera number")                                                       \
    X(FactLibrary, L"Library")                                                            \
    X(FactState, L"State")                                                                \
    X(FactPreview, L"Preview")                                                            \
    X(FactAskedRate, L"Rate asked for")                                                   \
    X(FactMeasuredRate, L"Rate measured")                                                 \
    X(FactStream, L"Webcam sends")                                                        \
    X(FactStreamRate, L"Webcam's rate")                                                   \
    X(FactBroken, L"Frames of no use")                                                    \
    X(FactStill, L"Still picture {}")                                                     \
    X(FactFormat, L"Format {}")                                                           \
    X(KindDriver, L"driver")                                                              \
    X(KindWebcam, L"webcam")                                                              \
    X(KindImager, L"imager")                                                              \
    X(CurrentMark, L" (chosen size)")                                                     \
    X(Size, L"{} x {}")                                                                   \
    X(BytesARow, L"{} bytes a row")                                                       \
    X(PerSecond, L"{} a second")                                                          \
    X(LogTime, L"Time")                                                                   \
    X(LogCall, L"Call")                                                                   \
    X(LogResult, L"Result")                                                               \
    X(LogRemedy, L"What to do")                                                           \
    X(CopyLog, L"Co&py as text")                                                          \
    X(ClearLog, L"C&lear")                                                                \
    X(KitHint, L"The device kit plays the camera in software.")                           \
    X(KitAbsent, L"The camera in use is not the kit: choose CAM1: or the imager.")        \
    X(Scene, L"&Scene")                                                                   \
    X(SceneChart, L"Test chart")                                                          \
    X(ScenePicture, L"Picture or film...")                                                \
    X(SceneBarcode, L"Barcode (imager)")                                                  \
    X(ScenePage, L"Page of text (imager)")                                                \
    X(SceneFilter, L"Pictures and films")                                                 \
    X(FramesPerSecond, L"Frames a second")                                                \
    X(Faults, L"Faults")                                                                  \
    X(LoseDevice, L"&Lose the device now")                                                \
    X(ReturnDevice, L"Bring it &back")                                                    \
    X(ResumeDevice, L"&Resume after sleep")                                               \
    X(FailTrigger, L"&Fail the next picture")                                             \
    X(Scenario, L"S&cenario")                                                             \
    X(ScenarioText, L"Scenario as JSON, or the path of a file")                           \
    X(Play, L"&Play scenario")                                                            \
    X(KitProperty, L"Pr&operty")                                                          \
    X(KitHas, L"E&xists")                                                                 \
    X(KitRange, L"From, to, step")                                                        \
    X(KitMinimum, L"Smallest value")                                                      \
    X(KitMaximum, L"Largest value")                                                       \
    X(KitStep, L"Step")                                                                   \
    X(KitDefault, L"Default value")                                                       \
    X(KitDefaultUnit, L"default")                                                         \
    X(KitChange, L"Chan&ge")                                                              \
    X(CopyCalls, L"Copy c&all log")                                                       \
    X(ScenarioPlain, L"No faults")                                                        \
    X(ScenarioSlow, L"Slow driver")                                                       \
    X(ScenarioDies, L"Dies after 100 frames")                                             \
    X(ScenarioTwo, L"Two cameras")                                                        \
    X(ScenarioNone, L"No camera")                                                         \
    X(ScenarioInUse, L"In use by another program")                                        \
    X(ScenarioFewControls, L"Few controls")                                               \
    X(KitCounts, L"{}, {}, {}")                                                           \
    X(Frame, L"{} frame")                                                                 \
    X(Frames, L"{} frames")                                                               \
    X(Still, L"{} still")                                                                 \
    X(Stills, L"{} stills")                                                               \
    X(LiveObject, L"{} live object")                                                      \
    X(LiveObjects, L"{} live objects")                                                    \
    X(StateOpening, L"Opening")                                                           \
    X(StateNone, L"No camera")                                                            \
    X(StateInitialised, L"Ready")                                                         \
    X(StateStopped, L"Stopped")                                                           \
    X(StatePreviewing, L"Live")                                                           \
    X(StatePaused, L"Paused")                                                             \
    X(StateStill, L"Taking a picture")                                                    \
    X(StateLost, L"Camera lost")                                                          \
    X(StatusRate, L"{} / s")                                                              \
    X(StatusLost, L"{} lost")                                                             \
    X(StatusPicture, L"Picture: {} ms")                                                   \
    X(TryAgain, L"Try again")                                                             \
    X(Close, L"Close")                                                                    \
    X(FaultOpen, L"{} could not be opened ({}).")                                         \
    X(FaultStart, L"The live picture of {} could not be started ({}).")                   \
    X(FaultNoCamera, L"There is no camera.")                                              \
    X(FaultSnap, L"The picture could not be taken ({}).")                                 \
    X(FaultSnapLost, L"The picture did not come within {} seconds.")                      \
    X(FaultFile, L"{} could not be written.")                                             \
    X(FaultFolder, L"The folder {} does not exist.")                                      \
    X(FaultPattern, L"\"{}\" makes no name of a file.")                                   \
    X(FaultProperty, L"{} could not be set to {} ({}).")                                  \
    X(FaultResolution, L"The resolution {} could not be set ({}).")                       \
    X(FaultLost, L"{} sends no pictures any more.")                                       \
    X(FaultScenario, L"The scenario cannot be played: {}.")                               \
    X(FaultSettingsFile, L"{} could not be read.")                                        \
    X(FaultSettingsWrite, L"{} could not be written.")                                    \
    X(FaultSettingsNewer, L"{} was written by a later version.")                          \
    X(FaultSettingsPart, L"Settings of {} that this camera refused: {} of {}.")           \
    X(FaultFormats, L"What {} can send could not be listed ({}).")                        \
    X(FaultKit, L"The device kit could not be registered ({}).")                          \
    X(RemedyFolder, L"Choose another folder, or make this one.")                          \
    X(RemedyPattern, L"Use letters, digits and conversions such as %Y-%m-%d and %H%M%S.") \
    X(RemedyFull, L"The disk is full: make room, or choose another folder.")              \
    X(RemedyFile, L"Check that the folder may be written.")                               \
    X(RemedyLost, L"Plug it in again: it is looked for every few seconds.")               \
    X(RemedySnapLost, L"Check the camera, then try again.")                               \
    X(RemedyScenario, L"Correct the text on the page Kit.")                               \
    X(RemedySettingsFile, L"Choose a settings file: INI text with a section Camera.")     \
    X(RemedyNewerView, L"It stays as it is, and nothing is remembered in this session.")  \
    X(RemedyNewer, L"What this version understands has been set.")                        \
    X(RemedyKit, L"Start camview once as an administrator.")                              \
    X(RemedyNoCamera, L"Connect a camera, or put devicekit.dll beside camview.")          \
    X(RemedyRange, L"Give a value that the camera has.")

enum class Text {
#define CAMVIEW_ID(name, text) name,
    CAMVIEW_TEXTS(CAMVIEW_ID)
#undef CAMVIEW_ID
};

const wchar_t* Say(Text text);

// With {} replaced by the words, in their order.
std::wstring Say(Text text, std::initializer_list<std::wstring_view> words);

// One thing, or so and so many: {} is the number.
std::wstring SayCount(Text one, Text many, long long count);

// "640 x 480".
std::wstring SaySize(long width, long height);

// "White balance"; one without a name has its number.
std::wstring SayProperty(int id);

// Without the mark of the key: for screen readers.
std::wstring SayPlainly(Text text);

}  // namespace camview
