#include "resources/shaderprogram.h"

#include <SDL.h>

#include <cstring>
#include <iostream>
#include <utility>

#include "cfo/file.h"
#include "gl/glprocs.h"
#include "math/hmatrix4.h"

bool cg_context = false;
ShaderProfile cg_vertex_profile = SHADER_PROFILE_UNKNOWN;
ShaderProfile cg_fragment_profile = SHADER_PROFILE_UNKNOWN;
bool shader_load_as_vertex = true;

namespace {
std::string last_error;

void RaiseError(const std::string& text) {
    last_error = text;
    OnCgError();
}

// GL keeps its matrices column-major and HMatrix4 is row-major: reading GL's array row by
// row and writing it back the same way converts between the two.
HMatrix4 FromGlMatrix(const float* gl) {
    HMatrix4 r;
    for (int row = 0; row < 4; row++)
        for (int col = 0; col < 4; col++) r.m[row][col] = gl[col * 4 + row];
    return r;
}

void ToGlMatrix(const HMatrix4& m, float* gl) {
    for (int row = 0; row < 4; row++)
        for (int col = 0; col < 4; col++) gl[col * 4 + row] = m.m[row][col];
}

std::string ShaderLog(uint32_t object, bool is_program) {
    GLint length = 0;
    if (is_program)
        glGetProgramiv(object, GL_INFO_LOG_LENGTH, &length);
    else
        glGetShaderiv(object, GL_INFO_LOG_LENGTH, &length);
    if (length <= 1)
        return is_program ? "The program could not be linked." : "The compile returned an error.";
    std::string log(size_t(length), '\0');
    GLsizei written = 0;
    if (is_program)
        glGetProgramInfoLog(object, length, &written, log.data());
    else
        glGetShaderInfoLog(object, length, &written, log.data());
    log.resize(size_t(written));
    while (!log.empty() && (log.back() == '\n' || log.back() == '\r')) log.pop_back();
    return log;
}

// Links the given shader objects into one program; 0 (after the error callback) on failure.
uint32_t LinkProgram(std::initializer_list<uint32_t> shaders) {
    uint32_t program = glCreateProgram();
    for (uint32_t s : shaders) glAttachShader(program, s);
    glLinkProgram(program);
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (!linked) {
        RaiseError(ShaderLog(program, true));
        glDeleteProgram(program);
        return 0;
    }
    return program;
}

}  // namespace

// The stage bindings of the layer: which program each stage has bound, which stages are
// enabled, the GL program in use, and the linked pairs.
struct ShaderState {
    ShaderProgram* bound_vertex = nullptr;
    ShaderProgram* bound_fragment = nullptr;
    bool vertex_enabled = false;
    bool fragment_enabled = false;
    uint32_t active = 0;
    ShaderProgram* active_vertex = nullptr;
    ShaderProgram* active_fragment = nullptr;
    std::map<std::pair<ShaderProgram*, ShaderProgram*>, uint32_t> pairs;
    std::map<uint32_t, std::map<std::string, int>> locations;

    int Location(uint32_t gl_program, const std::string& name) {
        auto& cache = locations[gl_program];
        auto it = cache.find(name);
        if (it != cache.end()) return it->second;
        int loc = glGetUniformLocation(gl_program, name.c_str());
        cache[name] = loc;
        return loc;
    }

    void Update() {
        ShaderProgram* v = vertex_enabled ? bound_vertex : nullptr;
        ShaderProgram* f = fragment_enabled ? bound_fragment : nullptr;
        uint32_t want = 0;
        if (v && f) {
            auto key = std::make_pair(v, f);
            auto it = pairs.find(key);
            if (it == pairs.end())
                it = pairs.emplace(key, LinkProgram({v->shader, f->shader})).first;
            want = it->second;
        } else if (v) {
            want = v->program;
        } else if (f) {
            want = f->program;
        }
        if (want == active && v == active_vertex && f == active_fragment) return;
        active = want;
        active_vertex = want ? v : nullptr;
        active_fragment = want ? f : nullptr;
        glUseProgram(active);
        if (!active) return;
        for (ShaderProgram* p : {active_vertex, active_fragment})
            if (p)
                for (const auto& entry : p->parameters) p->Apply(active, entry.first, entry.second);
    }

    void Forget(ShaderProgram* p) {
        bool in_use = active_vertex == p || active_fragment == p;
        if (bound_vertex == p) bound_vertex = nullptr;
        if (bound_fragment == p) bound_fragment = nullptr;
        for (auto it = pairs.begin(); it != pairs.end();) {
            if (it->first.first == p || it->first.second == p) {
                if (it->second) {
                    locations.erase(it->second);
                    glDeleteProgram(it->second);
                }
                it = pairs.erase(it);
            } else {
                ++it;
            }
        }
        if (in_use) {
            active = 0;
            active_vertex = active_fragment = nullptr;
            glUseProgram(0);
        }
        locations.erase(p->program);
    }
};

namespace {
ShaderState& State() {
    static ShaderState state;
    return state;
}
}  // namespace

void OnCgError() { std::cout << "Cg error: " << last_error << std::endl; }

const std::string& GetShaderLastError() { return last_error; }

void SetShaderLoadMode(bool vertex) { shader_load_as_vertex = vertex; }

ShaderProfile GetShaderProfile(const std::string& name) {
    if (name == "glslv") return SHADER_PROFILE_VERTEX;
    if (name == "glslf") return SHADER_PROFILE_FRAGMENT;
    return SHADER_PROFILE_UNKNOWN;
}

const char* GetShaderProfileString(ShaderProfile profile) {
    if (profile == SHADER_PROFILE_VERTEX) return "glslv";
    if (profile == SHADER_PROFILE_FRAGMENT) return "glslf";
    return "unknown";
}

void InitCg(const std::string& vertex_profile_name, const std::string& fragment_profile_name) {
    // The context needs a GL context that can compile GLSL.
    cg_context = false;
    if (SDL_GL_GetCurrentContext() != nullptr) {
        const GLubyte* glsl = glGetString(GL_SHADING_LANGUAGE_VERSION);
        cg_context = glsl != nullptr && glsl[0] != 0;
    }
    if (!cg_context) {
        std::cout << "Failed to create Cg context" << std::endl;
        return;
    }
    ShaderProfile vertex = GetShaderProfile(vertex_profile_name);
    if (vertex == SHADER_PROFILE_VERTEX) {
        cg_vertex_profile = vertex;
    } else {
        cg_vertex_profile = SHADER_PROFILE_VERTEX;  // the latest vertex profile
        std::cout << vertex_profile_name << " not supported" << std::endl;
    }
    ShaderProfile fragment = GetShaderProfile(fragment_profile_name);
    if (fragment == SHADER_PROFILE_FRAGMENT) {
        cg_fragment_profile = fragment;
    } else {
        cg_fragment_profile = SHADER_PROFILE_FRAGMENT;
        std::cout << fragment_profile_name << " not supported" << std::endl;
    }
    std::cout << "Using '" << GetShaderProfileString(cg_vertex_profile) << "', '"
              << GetShaderProfileString(cg_fragment_profile) << "'" << std::endl;
}

std::string WrapShaderSource(const std::string& text, bool vertex) {
    // A file that names its own version keeps it; the others get 1.20.
    size_t first = text.find_first_not_of(" \t\r\n");
    bool has_version = first != std::string::npos && text.compare(first, 8, "#version") == 0;
    std::string out = has_version ? "" : "#version 120\n#line 1\n";
    out += text;
    out += vertex ? "\nvoid main() { vertex_program(); }\n"
                  : "\nvoid main() { fragment_program(); }\n";
    return out;
}

ShaderProgram::~ShaderProgram() {
    if (!program && !shader) return;
    State().Forget(this);
    if (program) glDeleteProgram(program);
    if (shader) glDeleteShader(shader);
}

bool ShaderProgram::Load(std::string path) {
    vertex = shader_load_as_vertex;
    File file(path, File::READ);
    if (file.Length() == 0) return false;
    int64_t got = file.ReadAll();
    if (got <= 0 || !file.Data()) return false;
    if (!cg_context) return false;
    std::string text;
    text.reserve(size_t(got));
    for (int64_t i = 0; i < got; i++) text.push_back(file.Data()[i]);
    return LoadSource(text);
}

bool ShaderProgram::LoadSource(const std::string& text) {
    vertex = shader_load_as_vertex;
    if (!cg_context) return false;
    source = text;
    std::string full = WrapShaderSource(text, vertex);
    shader = glCreateShader(vertex ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER);
    const GLchar* strings[1] = {full.c_str()};
    GLint lengths[1] = {GLint(full.size())};
    glShaderSource(shader, 1, strings, lengths);
    glCompileShader(shader);
    GLint compiled = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (compiled)
        program = LinkProgram({shader});
    else
        RaiseError(ShaderLog(shader, false));
    if (!program) {
        std::cout << "Failed to load Cg program: " << program << std::endl;
        glDeleteShader(shader);
        shader = 0;
        return false;
    }
    return true;
}

void ShaderProgram::Bind() {
    if (!program) {
        RaiseError("Invalid program handle.");
        return;
    }
    ShaderState& state = State();
    (vertex ? state.bound_vertex : state.bound_fragment) = this;
    state.Update();
}

void ShaderProgram::EnableProfile(ShaderProfile profile) {
    ShaderState& state = State();
    if (profile == SHADER_PROFILE_VERTEX)
        state.vertex_enabled = true;
    else if (profile == SHADER_PROFILE_FRAGMENT)
        state.fragment_enabled = true;
    else
        return RaiseError("Invalid profile.");
    if (cg_context) state.Update();
}

void ShaderProgram::DisableProfile(ShaderProfile profile) {
    ShaderState& state = State();
    if (profile == SHADER_PROFILE_VERTEX)
        state.vertex_enabled = false;
    else if (profile == SHADER_PROFILE_FRAGMENT)
        state.fragment_enabled = false;
    else
        return RaiseError("Invalid profile.");
    if (cg_context) state.Update();
}

uint32_t ShaderProgram::ActiveGlProgram() { return State().active; }

bool ShaderProgram::Known(const std::string& name) {
    auto it = known_names.find(name);
    bool known;
    if (it != known_names.end()) {
        known = it->second;
    } else {
        // A name the source declares is known even when the compiler dropped it as unused.
        known = program != 0 && !name.empty() && source.find(name) != std::string::npos;
        known_names[name] = known;
    }
    if (!known) RaiseError("Invalid parameter handle: '" + name + "'.");
    return known;
}

void ShaderProgram::Apply(uint32_t gl_program, const std::string& name, const Parameter& p) {
    int loc = State().Location(gl_program, name);
    if (loc < 0) return;
    int count = p.components > 0 ? int(p.values.size()) / p.components : 0;
    switch (p.kind) {
        case Parameter::FLOATS:
            if (count <= 0) return;
            if (p.components == 3)
                glUniform3fv(loc, count, p.values.data());
            else
                glUniform4fv(loc, count, p.values.data());
            break;
        case Parameter::MATRIX:
            glUniformMatrix4fv(loc, 1, GL_FALSE, p.values.data());
            break;
        case Parameter::SAMPLER:
            glUniform1i(loc, p.unit);
            break;
        case Parameter::NONE:
            break;
    }
}

void ShaderProgram::Store(const std::string& name, Parameter::Kind kind, int components,
                          const float* data, int count) {
    if (!Known(name)) return;
    Parameter& p = parameters[name];
    p.kind = kind;
    p.components = components;
    if (data && count > 0)
        p.values.assign(data, data + size_t(count) * size_t(components));
    else
        p.values.clear();
    ShaderState& state = State();
    if (state.active && (state.active_vertex == this || state.active_fragment == this))
        Apply(state.active, name, p);
}

void ShaderProgram::SetViewMatrices() {
    SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_PROJECTION_MATRIX, SHADER_MATRIX_IDENTITY);
    SetStateMatrix("ModelView", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);
}

void ShaderProgram::SetStateMatrix(const std::string& name, ShaderStateMatrix matrix,
                                   ShaderMatrixTransform transform) {
    float gl_modelview[16], gl_projection[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, gl_modelview);
    glGetFloatv(GL_PROJECTION_MATRIX, gl_projection);
    const HMatrix4 modelview = FromGlMatrix(gl_modelview);
    const HMatrix4 projection = FromGlMatrix(gl_projection);
    HMatrix4 state = modelview;
    if (matrix == SHADER_PROJECTION_MATRIX)
        state = projection;
    else if (matrix != SHADER_MODELVIEW_MATRIX)
        state = projection * modelview;
    // A singular matrix has no inverse: it is passed on as it is rather than as zeros.
    if ((transform == SHADER_MATRIX_INVERSE || transform == SHADER_MATRIX_INVERSE_TRANSPOSE) &&
        state.Determinant() != 0.0f)
        state = state.Inverse();
    if (transform == SHADER_MATRIX_TRANSPOSE || transform == SHADER_MATRIX_INVERSE_TRANSPOSE)
        state = state.Transpose();
    float m[16];
    ToGlMatrix(state, m);
    Store(name, Parameter::MATRIX, 16, m, 1);
}

void ShaderProgram::SetParameter3fv(const std::string& name, const float* vector) {
    Store(name, Parameter::FLOATS, 3, vector, 1);
}

void ShaderProgram::SetParameterArray3f(const std::string& name, int count, const float* data) {
    Store(name, Parameter::FLOATS, 3, data, count);
}

void ShaderProgram::SetParameterArray4f(const std::string& name, int count, const float* data) {
    Store(name, Parameter::FLOATS, 4, data, count);
}

void ShaderProgram::SetTexture(const std::string& name, uint32_t texture) {
    if (!Known(name)) return;
    Parameter& p = parameters[name];
    p.kind = Parameter::SAMPLER;
    p.texture = texture;
    if (p.unit < 0) p.unit = next_unit++;
    ShaderState& state = State();
    if (state.active && (state.active_vertex == this || state.active_fragment == this))
        Apply(state.active, name, p);
}

void ShaderProgram::EnableTexture(const std::string& name) {
    if (!Known(name)) return;
    auto it = parameters.find(name);
    if (it == parameters.end() || it->second.kind != Parameter::SAMPLER) return;
    glActiveTexture(GL_TEXTURE0 + GLenum(it->second.unit));
    glBindTexture(GL_TEXTURE_2D, it->second.texture);
    glActiveTexture(GL_TEXTURE0);
}

void ShaderProgram::DisableTexture(const std::string& name) {
    if (!Known(name)) return;
    auto it = parameters.find(name);
    if (it == parameters.end() || it->second.kind != Parameter::SAMPLER) return;
    glActiveTexture(GL_TEXTURE0 + GLenum(it->second.unit));
    glBindTexture(GL_TEXTURE_2D, 0);
    glActiveTexture(GL_TEXTURE0);
}
