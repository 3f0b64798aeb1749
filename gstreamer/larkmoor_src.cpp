#include "gstreamer/larkmoor_src.h"

#include "gstreamer/location.h"
#include "gstreamer/media_format.h"
#include "gstreamer/properties.h"
#include "gstreamer/source.h"

#include <string>
#include <vector>

GST_DEBUG_CATEGORY(larkmoor_src_debug);
#define GST_CAT_DEFAULT larkmoor_src_debug

using larkmoor::gst::Source;

struct LarkmoorSrc
{
    GstElement parent;
    Source* source;
};

struct LarkmoorSrcClass
{
    GstElementClass parent;
};

namespace
{

enum Signal
{
    kInputChanged,
    kMove,
    kRecallPreset,
    kAddPreset,
    kDeletePreset,
    kPresets,
    kSetOutput,
    kSignalCount,
};

guint theSignals[kSignalCount];

void InitUriHandler(gpointer interface, gpointer);

LarkmoorSrc* Self(gpointer object)
{
    return reinterpret_cast<LarkmoorSrc*>(object);
}

std::string TextOf(const gchar* text)
{
    return text == nullptr ? std::string() : std::string(text);
}

} // namespace

G_DEFINE_TYPE_WITH_CODE(LarkmoorSrc, larkmoor_src, GST_TYPE_ELEMENT,
                        G_IMPLEMENT_INTERFACE(GST_TYPE_URI_HANDLER, InitUriHandler)
                            GST_DEBUG_CATEGORY_INIT(larkmoor_src_debug, "larkmoorsrc", 0, "Vivotek cameras"))

namespace
{

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec)
{
    if (!larkmoor::gst::SetProperty(*Self(object)->source, id, *value))
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* spec)
{
    if (!larkmoor::gst::GetProperty(*Self(object)->source, id, *value))
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
}

GstStateChangeReturn ChangeState(GstElement* element, GstStateChange change)
{
    Source& source = *Self(element)->source;
    GstStateChangeReturn result = GST_STATE_CHANGE_SUCCESS;
    if (change == GST_STATE_CHANGE_NULL_TO_READY)
        result = source.Prepare();
    else if (change == GST_STATE_CHANGE_READY_TO_PAUSED)
        result = source.Start();
    else if (change == GST_STATE_CHANGE_PLAYING_TO_PAUSED)
        source.SetPlaying(false);
    else if (change == GST_STATE_CHANGE_PAUSED_TO_READY)
        source.Stop();
    if (result == GST_STATE_CHANGE_FAILURE)
        return result;
    const GstStateChangeReturn parent =
        GST_ELEMENT_CLASS(larkmoor_src_parent_class)->change_state(element, change);
    if (parent == GST_STATE_CHANGE_FAILURE)
    {
        if (change == GST_STATE_CHANGE_READY_TO_PAUSED)
            source.Stop();
        return parent;
    }
    if (change == GST_STATE_CHANGE_PAUSED_TO_PLAYING)
        source.SetPlaying(true);
    else if (change == GST_STATE_CHANGE_PLAYING_TO_PAUSED)
        return GST_STATE_CHANGE_NO_PREROLL;
    else if (change == GST_STATE_CHANGE_READY_TO_NULL)
        source.Release();
    return result == GST_STATE_CHANGE_NO_PREROLL ? result : parent;
}

gboolean SendEvent(GstElement* element, GstEvent* event)
{
    const GstEventType type = GST_EVENT_TYPE(event);
    if (type == GST_EVENT_EOS || type == GST_EVENT_FLUSH_START || type == GST_EVENT_FLUSH_STOP)
        return Self(element)->source->SendEvent(event);
    return GST_ELEMENT_CLASS(larkmoor_src_parent_class)->send_event(element, event);
}

gboolean Query(GstElement* element, GstQuery* query)
{
    if (GST_QUERY_TYPE(query) == GST_QUERY_URI)
        return Self(element)->source->AnswerUri(query);
    return GST_ELEMENT_CLASS(larkmoor_src_parent_class)->query(element, query);
}

template <typename Use>
gboolean WithControls(GstElement* element, const Use& use)
{
    const auto session = Self(element)->source->Running();
    return session != nullptr && use(session->Control());
}

gboolean Move(GstElement* element, const gchar* movement, guint speed)
{
    return WithControls(element, [&](auto& controls) { return controls.Move(TextOf(movement), speed); });
}

gboolean RecallPreset(GstElement* element, const gchar* name, guint speed)
{
    return WithControls(element, [&](auto& controls) { return controls.RecallPreset(TextOf(name), speed); });
}

gboolean AddPreset(GstElement* element, const gchar* name)
{
    return WithControls(element, [&](auto& controls) { return controls.AddPreset(TextOf(name)); });
}

gboolean DeletePreset(GstElement* element, const gchar* name)
{
    return WithControls(element, [&](auto& controls) { return controls.DeletePreset(TextOf(name)); });
}

gchar** Presets(GstElement* element)
{
    std::vector<std::string> names;
    WithControls(element, [&](auto& controls) { return (names = controls.Presets(), true); });
    gchar** const list = g_new0(gchar*, names.size() + 1);
    for (std::size_t i = 0; i < names.size(); ++i)
        list[i] = g_strdup(names[i].c_str());
    return list;
}

gboolean SetOutput(GstElement* element, guint number, gboolean isOn)
{
    return WithControls(element, [&](auto& controls) { return controls.SetOutput(number, isOn != FALSE); });
}

template <typename Handler, typename... Types>
guint AddAction(GType type, const char* name, Handler handler, GType result, Types... types)
{
    return g_signal_new_class_handler(
        name, type, static_cast<GSignalFlags>(G_SIGNAL_RUN_LAST | G_SIGNAL_ACTION), G_CALLBACK(handler),
        nullptr, nullptr, nullptr, result, static_cast<guint>(sizeof...(types)), types...);
}

void AddSignals(GType type)
{
    theSignals[kInputChanged] = g_signal_new("input-changed", type, G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                             nullptr, G_TYPE_NONE, 2, G_TYPE_UINT, G_TYPE_BOOLEAN);
    theSignals[kMove] = AddAction(type, "move", Move, G_TYPE_BOOLEAN, G_TYPE_STRING, G_TYPE_UINT);
    theSignals[kRecallPreset] =
        AddAction(type, "recall-preset", RecallPreset, G_TYPE_BOOLEAN, G_TYPE_STRING, G_TYPE_UINT);
    theSignals[kAddPreset] = AddAction(type, "add-preset", AddPreset, G_TYPE_BOOLEAN, G_TYPE_STRING);
    theSignals[kDeletePreset] = AddAction(type, "delete-preset", DeletePreset, G_TYPE_BOOLEAN, G_TYPE_STRING);
    theSignals[kPresets] = AddAction(type, "presets", Presets, G_TYPE_STRV);
    theSignals[kSetOutput] =
        AddAction(type, "set-output", SetOutput, G_TYPE_BOOLEAN, G_TYPE_UINT, G_TYPE_BOOLEAN);
}

void AddTemplate(GstElementClass* type, const char* name, const char* caps)
{
    GstCaps* const all = gst_caps_from_string(caps);
    gst_element_class_add_pad_template(type, gst_pad_template_new(name, GST_PAD_SRC, GST_PAD_SOMETIMES, all));
    gst_caps_unref(all);
}

void Finalize(GObject* object)
{
    delete Self(object)->source;
    G_OBJECT_CLASS(larkmoor_src_parent_class)->finalize(object);
}

GstURIType UriType(GType)
{
    return GST_URI_SRC;
}

const gchar* const* UriProtocols(GType)
{
    static const gchar* const protocols[] = {"larkmoor", nullptr};
    return protocols;
}

gchar* GetUri(GstURIHandler* handler)
{
    const std::string location = Self(handler)->source->Settings().location;
    return location.empty() ? nullptr : g_strdup(location.c_str());
}

gboolean SetUri(GstURIHandler* handler, const gchar* uri, GError** error)
{
    try
    {
        larkmoor::gst::SetLocation(*Self(handler)->source, TextOf(uri));
        return TRUE;
    }
    catch (const larkmoor::gst::Problem& problem)
    {
        g_set_error_literal(error, GST_URI_ERROR, GST_URI_ERROR_BAD_URI, problem.what());
        return FALSE;
    }
}

void InitUriHandler(gpointer interface, gpointer)
{
    auto* const handler = static_cast<GstURIHandlerInterface*>(interface);
    handler->get_type = UriType;
    handler->get_protocols = UriProtocols;
    handler->get_uri = GetUri;
    handler->set_uri = SetUri;
}

} // namespace

static void larkmoor_src_class_init(LarkmoorSrcClass* type)
{
    auto* const object = G_OBJECT_CLASS(type);
    object->set_property = SetProperty;
    object->get_property = GetProperty;
    object->finalize = Finalize;
    larkmoor::gst::InstallProperties(object);
    AddSignals(G_TYPE_FROM_CLASS(type));

    auto* const element = GST_ELEMENT_CLASS(type);
    element->change_state = ChangeState;
    element->send_event = SendEvent;
    element->query = Query;
    AddTemplate(element, "video_%u", larkmoor::gst::kVideoCaps);
    AddTemplate(element, "audio_%u", larkmoor::gst::kAudioCaps);
    gst_element_class_set_static_metadata(
        element, "Vivotek camera source", "Source/Network/Audio/Video",
        "Records from a Vivotek camera or video server, and reconnects by itself", "The Larkmoor developers");
}

static void larkmoor_src_init(LarkmoorSrc* self)
{
    self->source = new Source(GST_ELEMENT(self));
    GST_OBJECT_FLAG_SET(self, GST_ELEMENT_FLAG_SOURCE);
}

namespace larkmoor::gst
{

bool LarkmoorSrcHearsInputs(GstElement* element)
{
    return g_signal_has_handler_pending(element, theSignals[kInputChanged], 0, FALSE);
}

void LarkmoorSrcEmitInput(GstElement* element, std::uint32_t number, bool isHigh)
{
    g_signal_emit(element, theSignals[kInputChanged], 0, number, isHigh ? TRUE : FALSE);
}

} // namespace larkmoor::gst
