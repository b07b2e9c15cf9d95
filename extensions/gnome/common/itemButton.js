// One top-bar button for one item of the status program: its picture, at the width the
// status program gives it, and its dropdown.

class ItemButton {
    // `view`: style() -> the last style sent (or null), changed() -> a button gained its style.
    constructor(env, client, summary, view) {
        const {PanelMenu, St, Clutter} = env;
        this._env = env;
        this._client = client;
        this._view = view;
        this.id = summary.id;
        this.pictureUpdates = 0;
        this._fetching = false;
        this._fetchAgain = false;
        this.button = new PanelMenu.Button(0.5, summary.title, false);
        this.button.add_style_class_name('corvanebar-item');
        this.picture = new St.Widget({y_align: Clutter.ActorAlign.CENTER,
            accessible_name: summary.title});
        this.button.add_child(this.picture);
        this._styleId = this.button.connect('style-changed', () => view.changed());
        // What a screen reader says is asked for when the button is reached, not each second.
        this.button.connect('key-focus-in', () => this.refreshDescription());
        this.button.connect('notify::hover', () => this.refreshDescription());
        this.dropdown = new Dropdown(env, client, this.id, this.button.menu,
            () => (view.style()?.scale ?? 1) >= 1.5 ? 2 : 1);
    }

    // Called on PictureChanged; a change that comes in while a fetch is under way is fetched
    // after it, never beside it, so a slow reply cannot overwrite a newer picture.
    async refreshPicture() {
        if (this._fetching) {
            this._fetchAgain = true;
            return;
        }
        this._fetching = true;
        const style = this._view.style();
        const picture = await this._client.getPicture(this.id, 'wide', style?.scale ?? 1);
        this._fetching = false;
        if (this.button === null)
            return;
        if (picture)
            this._showPicture(picture, style);
        if (this._fetchAgain) {
            this._fetchAgain = false;
            this.refreshPicture();
        }
    }

    async refreshDescription() {
        const item = await this._client.getItem(this.id);
        if (item && this.button)
            this.picture.accessible_name = item['accessible-description'] || item.title || '';
    }

    destroy() {
        this.dropdown.destroy();
        this.button.disconnect(this._styleId);
        this.button.destroy();
        this.button = null;
    }

    _showPicture({width, height, pixels}, style) {
        const content = pictureContent(this._env, width, height, pixels);
        if (!content)
            return;
        const density = pictureDensity(height, style?.height ?? height);
        const themeScale = this._env.St.ThemeContext.get_for_stage(global.stage).scale_factor;
        this.picture.set_content(content);
        this.picture.set_size(width / density * themeScale, height / density * themeScale);
        this.pictureUpdates++;
    }
}
